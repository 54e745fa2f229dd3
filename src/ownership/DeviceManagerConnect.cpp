#include "core/Log.h"
#include "ownership/DeviceManagerFlow.h"

#include <functional>
#include <string>
#include <utility>

namespace zolvex {

namespace {

constexpr Logger logger("DeviceManager");

bool isNothingToConnect(DeviceManager::ConnectionStatus status, bool connectMissing) {
  using enum BluetoothPeripheralStore::ConnectionStatus;
  return status == allConnected || (status == partial && !connectMissing);
}

}  // namespace

void DeviceManager::connectToThisMac(bool connectMissing, Completion completion) {
  if (!beginConnect(connectMissing, "Connecting...")) return;
  logger.info("Connect: starting");
  const ConnectFlow flow{connectMissing, true, std::move(completion)};
  if (use_.networkStore.registeredPeer())
    askPeerToRelease(flow);
  else
    startPass(flow);
}

void DeviceManager::forceConnect(bool connectMissing, Completion completion) {
  if (!beginConnect(connectMissing, "Quick connecting...")) return;
  logger.info("Force connect: skipping peer release");
  startPass({connectMissing, false, std::move(completion)});
}

bool DeviceManager::beginConnect(bool connectMissing, std::string statusWhenNothingIsHere) {
  if (isSwitching()) return false;
  autoConnectRetryWorkItem_.cancel();
  const auto status = use_.bluetoothStore.connectionStatus();
  if (isNothingToConnect(status, connectMissing)) {
    reconcileWithLiveState(status);
    return false;
  }
  beginOperation(
      status == ConnectionStatus::partial ? "Connecting missing devices..." : std::move(statusWhenNothingIsHere),
      SwitchOperation::connecting, DeviceOwnershipState::switchingToThisMac);
  return true;
}

void DeviceManager::askPeerToRelease(const ConnectFlow& flow) {
  constexpr auto command = DeviceCommand::pleaseRelease;
  lastResult_ = "Asking peer to release...";
  logger.info("Connect: sending PLEASE_RELEASE to peer");
  const auto answered = whileCurrent([this, flow](const PeerReply& reply) { peerAnswered(flow, reply.succeeded()); });
  // A dropped command, which the registry logs, never calls back.
  if (!use_.networkStore.sendCommand(command, answered)) peerAnswered(flow, false);
}

void DeviceManager::peerAnswered(const ConnectFlow& flow, bool released) {
  if (released) {
    logger.info("Connect: peer released, proceeding");
    lastResult_ = "Connecting...";
  } else {
    ownershipState_ = DeviceOwnershipState::switchingToThisMac;
    lastResult_ = "Peer unavailable. Quick connecting...";
    logger.error("Connect: peer did not release, switching to quick connect fallback");
  }
  startPass(flow);
}

void DeviceManager::startPass(const ConnectFlow& flow) {
  logger.info("Connect: pairing + connecting all devices");
  const auto& devices = use_.bluetoothStore.peripherals();
  if (devices.empty()) {
    endOperation();
    showNoDevicesConfigured();
    if (flow.completion) flow.completion();
    return;
  }
  const auto status = use_.bluetoothStore.connectionStatus();
  if (isNothingToConnect(status, flow.connectMissing)) return reconcileWithLiveState(status);
  const auto pass = std::make_shared<ConnectPass>(ConnectPass{flow, devices.size()});
  submitConnects(pass);
  watchForConnection(pass, connectPollLimit);
}

void DeviceManager::submitConnects(const std::shared_ptr<ConnectPass>& pass) {
  auto& store = use_.bluetoothStore;
  const auto finish = whileCurrent([this, pass] { finishPass(*pass); });
  const std::function<void()> deviceDone = lifetime_.guard([this, pass, finish] {
    if (--pass->devicesLeft == 0) use_.mainQueue.async(finish);
  });
  // The flow's state belongs to the main thread: nothing of it may stay with, and end on, the Bluetooth thread.
  for (const auto& device : store.peripherals())
    store.bluetoothQueue().async(
        [&store, device, done = deviceDone]() mutable { store.connect(device, std::exchange(done, nullptr)); });
}

void DeviceManager::watchForConnection(const std::shared_ptr<ConnectPass>& pass, int checksLeft) {
  if (use_.bluetoothStore.connectionStatus() != ConnectionStatus::allDisconnected) return finishPass(*pass);
  if (checksLeft == 0) return;
  connectPoll_ = use_.mainQueue.after(
      connectPollInterval, whileCurrent([this, pass, checksLeft] { watchForConnection(pass, checksLeft - 1); }));
}

void DeviceManager::finishPass(ConnectPass& pass) {
  if (std::exchange(pass.finished, true)) return;
  connectPoll_.cancel();
  endOperation();
  switch (use_.bluetoothStore.connectionStatus()) {
    case ConnectionStatus::allConnected:
      ownershipState_ = DeviceOwnershipState::thisMac;
      lastResult_ = "Connected!";
      logger.info("Connect: SUCCESS");
      use_.notifier.notifyDevicesMovedHere();
      return announceConnected(pass.flow);
    case ConnectionStatus::partial:
      ownershipState_ = DeviceOwnershipState::partiallyThisMac;
      lastResult_ = "Partially connected";
      use_.notifier.notifySomeDevicesMovedHere();
      return announceConnected(pass.flow);
    case ConnectionStatus::allDisconnected:
      return finishWithNothingConnected(pass.flow);
  }
}

void DeviceManager::announceConnected(const ConnectFlow& flow) {
  startAutoReleaseTimer();
  if (flow.completion) flow.completion();
  if (use_.networkStore.registeredPeer()) use_.networkStore.sendCommand(DeviceCommand::connected, {});
}

void DeviceManager::finishWithNothingConnected(const ConnectFlow& flow) {
  const auto token = switchToken_;
  ownershipState_ = DeviceOwnershipState::failed;
  lastResult_ = "Turn the device off and on, then try again.";
  if (flow.mayFallBack && switchToken_ == token) return fallBackToQuickConnect(flow);
  if (flow.completion) flow.completion();
}

void DeviceManager::fallBackToQuickConnect(ConnectFlow flow) {
  logger.info("Connect: no devices connected, falling back to quick connect");
  beginOperation("Connect failed. Quick connecting...", SwitchOperation::connecting,
                 DeviceOwnershipState::switchingToThisMac);
  flow.mayFallBack = false;
  startPass(flow);
}

}  // namespace zolvex
