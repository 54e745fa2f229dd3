#include "core/Log.h"
#include "ownership/DeviceManagerFlow.h"

#include <functional>
#include <utility>

namespace zolvex {

namespace {

constexpr Logger logger("DeviceManager");

}  // namespace

void DeviceManager::releaseDevices() {
  if (!isSwitching()) beginRelease(nullptr);
}

void DeviceManager::handlePleaseRelease(std::shared_ptr<ReplyChannel> channel) {
  if (isSwitching())
    use_.networkStore.replyPleaseRelease(false, *channel);
  else
    beginRelease(std::move(channel));
}

void DeviceManager::beginRelease(std::shared_ptr<ReplyChannel> channel) {
  autoConnectRetryWorkItem_.cancel();
  beginOperation("Releasing...", SwitchOperation::releasing, DeviceOwnershipState::releasing);
  autoReleaseTimer_.cancel();
  logger.info("Release: removing all devices");
  removeAllPairings(std::make_shared<Release>(Release{.channel = std::move(channel)}));
}

void DeviceManager::removeAllPairings(const std::shared_ptr<Release>& release) {
  release->devicesLeft = use_.bluetoothStore.peripherals().size();
  if (release->devicesLeft == 0) return finishRelease(*release);
  auto& store = use_.bluetoothStore;
  const auto finish = whileCurrent([this, release] { finishRelease(*release); });
  const std::function<void(bool)> deviceDone = lifetime_.guard([this, release, finish](bool removed) {
    if (!removed) release->allRemoved = false;
    if (--release->devicesLeft == 0) use_.mainQueue.async(finish);
  });
  // As with a connect, nothing of it may stay on the Bluetooth thread; least of all the way back to the peer.
  for (const auto& device : store.peripherals())
    store.bluetoothQueue().async(
        [&store, device, done = deviceDone]() mutable { store.unregister(device, std::exchange(done, nullptr)); });
}

void DeviceManager::finishRelease(const Release& release) {
  endOperation();
  ownershipState_ = release.allRemoved ? DeviceOwnershipState::released : DeviceOwnershipState::failed;
  if (release.reason.empty())
    publishRelease(release.allRemoved);
  else
    lastResult_ = release.reason + (release.allRemoved ? ": released" : ": release failed");
  if (release.channel) use_.networkStore.replyPleaseRelease(release.allRemoved, *release.channel);
  if (release.allRemoved && use_.networkStore.registeredPeer())
    use_.networkStore.sendCommand(DeviceCommand::released, {});
}

void DeviceManager::publishRelease(bool succeeded) {
  if (succeeded) {
    lastResult_ = "Released. Pair on other Mac";
    logger.info("Release: done");
  } else {
    lastResult_ = "Release may have failed";
    logger.error("Release: not all devices disconnected");
  }
}

}  // namespace zolvex
