#include "ownership/DeviceManager.h"

#include "core/Log.h"
#include "core/SettingsKeys.h"

#include <limits>
#include <utility>

namespace zolvex {

namespace {

constexpr Logger logger("DeviceManager");

}  // namespace

DeviceManager::DeviceManager(Collaborators collaborators) : use_(collaborators) {
  logger.info("Device manager started");
}

Subscription DeviceManager::observeIsSwitching(std::function<void(const bool&)> observer) {
  return isSwitching_.observe(std::move(observer));
}

Subscription DeviceManager::observeLastResult(std::function<void(const std::string&)> observer) {
  return lastResult_.observe(std::move(observer));
}

Subscription DeviceManager::observeOwnershipState(std::function<void(const DeviceOwnershipState&)> observer) {
  return ownershipState_.observe(std::move(observer));
}

void DeviceManager::beginOperation(std::string status, SwitchOperation operation, DeviceOwnershipState state) {
  retireFlow();
  isSwitching_ = true;
  currentOperation_ = operation;
  ownershipState_ = state;
  lastResult_ = std::move(status);
}

void DeviceManager::retireFlow() {
  if (switchToken_ == std::numeric_limits<std::int64_t>::max()) logger.fatal("The switch token has overflowed");
  ++switchToken_;
}

void DeviceManager::endOperation() {
  isSwitching_ = false;
  currentOperation_.reset();
}

void DeviceManager::applyConnectionSummary(ConnectionStatus status, bool keepOtherMac) {
  switch (status) {
    case ConnectionStatus::allConnected:
      ownershipState_ = DeviceOwnershipState::thisMac;
      break;
    case ConnectionStatus::partial:
      ownershipState_ = DeviceOwnershipState::partiallyThisMac;
      break;
    case ConnectionStatus::allDisconnected:
      if (!keepOtherMac || ownershipState() != DeviceOwnershipState::otherMac)
        ownershipState_ = DeviceOwnershipState::released;
      break;
  }
}

void DeviceManager::reconcileWithLiveState(ConnectionStatus status) {
  endOperation();
  applyConnectionSummary(status, false);
  switch (status) {
    case ConnectionStatus::allConnected:
      lastResult_ = "Already connected";
      break;
    case ConnectionStatus::allDisconnected:
      lastResult_ = "Not connected";
      break;
    case ConnectionStatus::partial:
      lastResult_ = "Partially connected";
      break;
  }
}

void DeviceManager::cancelCurrentOperation() {
  if (!isSwitching()) return;
  retireFlow();
  currentOperation_.reset();
  isSwitching_ = false;
  applyConnectionSummary(use_.bluetoothStore.connectionStatus(), false);
  lastResult_ = "Cancelled";
}

void DeviceManager::refreshFromLiveState() {
  const auto status = use_.bluetoothStore.connectionStatus();
  if (isSwitching() && currentOperation() == SwitchOperation::connecting) {
    if (status == ConnectionStatus::allDisconnected) return;
    logger.info("Connect: reconciled from live Bluetooth state");
  }
  reconcileWithLiveState(status);
}

void DeviceManager::handleHotKey() {
  if (use_.bluetoothStore.peripherals().empty()) return showNoDevicesConfigured();
  if (isSwitching()) return refreshFromLiveState();
  const auto status = use_.bluetoothStore.connectionStatus();
  applyConnectionSummary(status, false);
  if (status == ConnectionStatus::allConnected)
    reconcileWithLiveState(status);
  else
    connectToThisMac(true);
}

void DeviceManager::devicesConfigured() {
  if (use_.bluetoothStore.peripherals().empty()) return showNoDevicesConfigured();
  const auto status = use_.bluetoothStore.connectionStatus();
  applyConnectionSummary(status, true);
  reconcileWithLiveState(status);
}

void DeviceManager::showNoDevicesConfigured() {
  ownershipState_ = DeviceOwnershipState::unknown;
  lastResult_ = "No devices configured";
}

void DeviceManager::handlePeerConnected() {
  logger.info("Peer connected to trackpad");
  endOperation();
  ownershipState_ = DeviceOwnershipState::otherMac;
  lastResult_ = "Other Mac has zolvex";
  use_.notifier.notifyDevicesMovedToPeer();
}

void DeviceManager::handlePeerReleased() {
  logger.info("Peer released trackpad");
  ownershipState_ = DeviceOwnershipState::released;
  if (!use_.defaults.boolean(settings::autoConnect).value_or(false))
    lastResult_ = "Peer released. Check Nearby Devices";
}

}  // namespace zolvex
