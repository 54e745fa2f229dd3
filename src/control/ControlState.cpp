#include "control/ControlState.h"

#include "control/ControlText.h"
#include "control/ControlTypes.h"
#include "core/Version.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <string_view>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex::control {

namespace {

QVariant deviceRows(const std::vector<BluetoothPeripheral>& peripherals) {
  DeviceRows rows;
  for (const auto& device : peripherals) rows.append({qString(device.id), qString(device.name), device.isConnected});
  return QVariant::fromValue(rows);
}

qlonglong milliseconds(Date date) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(date.time_since_epoch()).count();
}

PeerRow peerRow(const NetworkDevice& peer, Date now) {
  PeerRow row{qString(peer.id), qString(peer.name), qString(peer.host.value_or(""))};
  row.port = peer.port.value_or(0);
  row.isActive = peer.isActive;
  row.isReachable = NetworkDeviceStore::isReachable(peer, now);
  row.lastReachable = peer.lastReachableAt ? milliseconds(*peer.lastReachableAt) : 0;
  return row;
}

PeerRows peerRows(const std::vector<NetworkDevice>& peers, Date now) {
  PeerRows rows;
  for (const auto& peer : peers) rows.append(peerRow(peer, now));
  return rows;
}

PeerRows withoutTimes(PeerRows rows) {
  for (auto& row : rows) row.lastReachable = 0;
  return rows;
}

bool isFirstReachable(const std::vector<NetworkDevice>& peers, Date now) {
  return !peers.empty() && NetworkDeviceStore::isReachable(peers.front(), now);
}

QString operationName(const DeviceManager& manager) {
  const auto operation = manager.currentOperation();
  return operation ? qString(nameOf(*operation)) : QString(u""_s);
}

}  // namespace

ControlState::ControlState(const Controlled& controlled)
    : use_(controlled),
      toldOperation_(operationName(controlled.deviceManager)),
      toldTransportMode_(qString(controlled.networkStore.transportMode())),
      toldReachable_(controlled.networkStore.isPeerReachable()),
      toldRegistered_(withoutTimes(peerRows(controlled.networkStore.networkDevices(), controlled.mainQueue.now()))),
      toldDiscovered_(
          withoutTimes(peerRows(controlled.networkStore.discoveredNetworkDevices(), controlled.mainQueue.now()))) {
  registerTypes();
  observeOwnership();
  observePeers();
  subscriptions_.push_back(use_.defaults.changed.observe([this] { tellTransportMode(); }));
}

QVariantMap ControlState::all() const {
  const auto now = use_.mainQueue.now();
  const auto& manager = use_.deviceManager;
  return {{u"OwnershipState"_s, qString(nameOf(manager.ownershipState()))},
          {u"IsSwitching"_s, manager.isSwitching()},
          {u"LastResult"_s, qString(manager.lastResult())},
          {u"CurrentOperation"_s, operationName(manager)},
          {u"Devices"_s, deviceRows(use_.bluetoothStore.peripherals())},
          {u"RegisteredPeers"_s, QVariant::fromValue(peerRows(use_.networkStore.networkDevices(), now))},
          {u"DiscoveredPeers"_s, QVariant::fromValue(peerRows(use_.networkStore.discoveredNetworkDevices(), now))},
          {u"PeerReachable"_s, use_.networkStore.isPeerReachable()},
          {u"TransportMode"_s, qString(use_.networkStore.transportMode())},
          {u"Version"_s, qString(versionText())}};
}

void ControlState::observeOwnership() {
  auto& manager = use_.deviceManager;
  subscriptions_.push_back(manager.observeIsSwitching([this](const bool& value) {
    assigned.emit(u"IsSwitching"_s, value);
    // The operation itself is not announced; it is set together with this.
    use_.mainQueue.async(lifetime_.guard([this] { tellOperation(); }));
  }));
  subscriptions_.push_back(manager.observeOwnershipState([this](const DeviceOwnershipState& value) {
    tellOperation();
    assigned.emit(u"OwnershipState"_s, qString(nameOf(value)));
  }));
  subscriptions_.push_back(manager.observeLastResult([this](const std::string& value) {
    tellOperation();
    assigned.emit(u"LastResult"_s, qString(value));
  }));
  subscriptions_.push_back(use_.bluetoothStore.observePeripherals(
      [this](const auto& devices) { assigned.emit(u"Devices"_s, deviceRows(devices)); }));
}

void ControlState::observePeers() {
  subscriptions_.push_back(
      use_.networkStore.observeNetworkDevices([this](const auto& peers) { tellRegistered(peers); }));
  subscriptions_.push_back(
      use_.networkStore.observeDiscoveredNetworkDevices([this](const auto& peers) { tellDiscovered(peers); }));
}

void ControlState::tellRegistered(const Peers& peers) {
  const auto now = use_.mainQueue.now();
  tellPeers(u"RegisteredPeers"_s, peerRows(peers, now), toldRegistered_);
  const bool isReachable = isFirstReachable(peers, now);
  if (std::exchange(toldReachable_, isReachable) != isReachable) assigned.emit(u"PeerReachable"_s, isReachable);
  registeredExpiry_ = tellAgain(peers, [this](const Peers& still) { tellRegistered(still); });
}

void ControlState::tellDiscovered(const Peers& peers) {
  tellPeers(u"DiscoveredPeers"_s, peerRows(peers, use_.mainQueue.now()), toldDiscovered_);
  discoveredExpiry_ = tellAgain(peers, [this](const Peers& still) { tellDiscovered(still); });
}

/// Not that one was heard of again, which happens with each health check: it would wake up two processes each time.
void ControlState::tellPeers(const QString& name, const PeerRows& rows, PeerRows& told) {
  auto withoutTheirTimes = withoutTimes(rows);
  if (withoutTheirTimes == told) return;
  told = std::move(withoutTheirTimes);
  assigned.emit(name, QVariant::fromValue(rows));
}

/// When the first of them stops counting as reachable, which nothing announces.
WorkItem ControlState::tellAgain(const Peers& peers, std::function<void(const Peers&)> tell) {
  const auto now = use_.mainQueue.now();
  std::optional<Seconds> soonest;
  for (const auto& peer : peers) {
    if (!NetworkDeviceStore::isReachable(peer, now)) continue;
    const Seconds left = *peer.lastReachableAt + NetworkDeviceStore::peerReachabilityFreshness - now;
    soonest = std::min(left, soonest.value_or(left));
  }
  if (!soonest) return {};
  return use_.mainQueue.after(*soonest, [peers, tell = std::move(tell)] { tell(peers); });
}

void ControlState::tellOperation() {
  auto operation = operationName(use_.deviceManager);
  if (operation == toldOperation_) return;
  toldOperation_ = operation;
  assigned.emit(u"CurrentOperation"_s, operation);
}

void ControlState::tellTransportMode() {
  const auto mode = qString(use_.networkStore.transportMode());
  if (mode == toldTransportMode_) return;
  toldTransportMode_ = mode;
  assigned.emit(u"TransportMode"_s, mode);
}

}  // namespace zolvex::control
