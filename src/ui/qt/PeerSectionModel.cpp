#include "ui/qt/PeerSectionModel.h"

#include "ui/qt/QtText.h"

#include <algorithm>

namespace zolvex {

PeerSectionModel::PeerSectionModel(const UserInterfaceObjects& objects, QObject* parent)
    : QObject(parent), use_(objects), discovered_({"name", "dot", "detail", "button", "isProminent", "tint"}) {
  refresh();
}

void PeerSectionModel::refresh() {
  const auto& store = use_.networkStore;
  const auto shown = presentPeerSection(store.registeredPeer(), store.discoveredNetworkDevices(), use_.mainQueue.now());
  searching_ = qString(shown.searching);
  hasPeer_ = shown.registered.has_value();
  registered_ = shown.registered ? PeerValue::from(*shown.registered) : PeerValue();
  QList<RowModel::Row> rows;
  for (const auto& row : shown.discovered)
    rows.append({qString(row.id),
                 {qString(row.name), qString(row.dot), qString(row.detail), qString(row.button), row.isProminent,
                  qString(row.tint)}});
  discovered_.setRows(rows);
  Q_EMIT changed();
}

void PeerSectionModel::add(const QString& id) {
  const auto& devices = use_.networkStore.discoveredNetworkDevices();
  const auto found =
      std::find_if(devices.begin(), devices.end(), [&id](const auto& device) { return qString(device.id) == id; });
  if (found == devices.end()) return;
  const auto device = *found;  // the list may change under it
  use_.networkStore.registerPeer(device);
}

void PeerSectionModel::remove() {
  if (use_.networkStore.registeredPeer()) use_.networkStore.removePeer();
}

}  // namespace zolvex
