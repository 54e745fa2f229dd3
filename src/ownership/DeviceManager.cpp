#include "ownership/DeviceManager.h"

#include "core/Log.h"

#include <limits>
#include <utility>

namespace zolvex {

namespace {

constexpr Logger logger("DeviceManager");

}  // namespace

DeviceManager::DeviceManager(Collaborators collaborators) : use_(collaborators), evaluations_(collaborators.mainQueue) {
  startObservers();
  logger.info("Device manager started");
  evaluations_.after(launchEvaluationDelay, [this] {
    logger.info("Launch: evaluating auto-connect");
    evaluateAutoConnect({"Launch", false, true, autoConnectMaxRetries});
  });
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
      return startAutoReleaseTimer();
    case ConnectionStatus::partial:
      lastResult_ = "Partially connected";
      return startAutoReleaseTimer();
    case ConnectionStatus::allDisconnected:
      lastResult_ = "Not connected";
      break;
  }
}

void DeviceManager::cancelCurrentOperation() {
  if (!isSwitching()) return;
  retireFlow();
  autoConnectRetryWorkItem_.cancel();
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
  pendingInactiveReleaseWorkItem_.cancel();
  autoConnectRetryWorkItem_.cancel();
  lastAutoConnectAttempt_ = distantPast;
  const auto status = use_.bluetoothStore.connectionStatus();
  applyConnectionSummary(status, false);
  if (status == ConnectionStatus::allConnected)
    reconcileWithLiveState(status);
  else
    connectToThisMac(true);
}

void DeviceManager::devicesConfigured() {
  autoConnectRetryWorkItem_.cancel();
  lastAutoConnectAttempt_ = distantPast;
  if (use_.bluetoothStore.peripherals().empty()) return showNoDevicesConfigured();
  const auto status = use_.bluetoothStore.connectionStatus();
  applyConnectionSummary(status, true);
  startAutoReleaseTimer();
  if (isAutoConnectEnabled() && status == ConnectionStatus::allDisconnected && !isSwitching())
    evaluateAutoConnect({"Setup", use_.networkStore.registeredPeer() != nullptr, false, autoConnectMaxRetries});
  else
    reconcileWithLiveState(status);
}

void DeviceManager::showNoDevicesConfigured() {
  ownershipState_ = DeviceOwnershipState::unknown;
  lastResult_ = "No devices configured";
}

void DeviceManager::handlePeerConnected() {
  logger.info("Peer connected to trackpad");
  autoConnectRetryWorkItem_.cancel();
  endOperation();
  ownershipState_ = DeviceOwnershipState::otherMac;
  lastResult_ = "Other Mac has zolvex";
  use_.notifier.notifyDevicesMovedToPeer();
}

void DeviceManager::handlePeerReleased() {
  logger.info("Peer released trackpad");
  ownershipState_ = DeviceOwnershipState::released;
  if (isAutoConnectEnabled())
    evaluateAutoConnect({"Peer released", false, false, autoConnectMaxRetries});
  else
    lastResult_ = "Peer released. Check Nearby Devices";
}

}  // namespace zolvex
