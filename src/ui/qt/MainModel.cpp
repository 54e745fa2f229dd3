#include "ui/qt/MainModel.h"

#include "ui/DevicePresentation.h"
#include "ui/PeerPresentation.h"
#include "ui/qt/QtText.h"

namespace zolvex {

MainModel::MainModel(const UserInterfaceObjects& objects, QObject* parent)
    : QObject(parent),
      use_(objects),
      action_(presentMainAction(false)),
      devices_({"symbol", "name", "dot", "caption"}) {
  refresh();
}

void MainModel::refresh() {
  const auto& manager = use_.deviceManager;
  const auto& devices = use_.bluetoothStore.peripherals();
  header_ = HeaderValue::from(presentHeader({.ownershipState = manager.ownershipState(),
                                             .isSwitching = manager.isSwitching(),
                                             .statusMessage = manager.lastResult(),
                                             .devices = devices}));
  const auto peer = presentPeerStatus(use_.networkStore.registeredPeer(), use_.mainQueue.now());
  peerText_ = qString(peer.text);
  peerDot_ = qString(peer.dot);
  action_ = presentMainAction(use_.bluetoothStore.anyConnected());
  refreshDevices(manager.isSwitching());
  Q_EMIT changed();
}

void MainModel::refreshDevices(bool isSwitching) {
  QList<RowModel::Row> rows;
  for (const auto& row : presentDevices(use_.bluetoothStore.peripherals(), isSwitching))
    rows.append({qString(row.id), {qString(row.symbol), qString(row.name), qString(row.dot), qString(row.caption)}});
  devices_.setRows(rows);
}

void MainModel::runPrimary() {
  run(action_.primary.action, use_.deviceManager);
}

void MainModel::runSecondary() {
  if (action_.secondary) run(action_.secondary->action, use_.deviceManager);
}

void MainModel::cancel() {
  use_.deviceManager.cancelCurrentOperation();
}

void run(DeviceAction action, DeviceManager& manager) {
  switch (action) {
    case DeviceAction::connectToThisMac:
      return manager.connectToThisMac(false);
    case DeviceAction::forceConnect:
      return manager.forceConnect(false);
    case DeviceAction::releaseDevices:
      return manager.releaseDevices();
  }
}

}  // namespace zolvex
