#include "platform/linux/BluezClassicDevice.h"

#include "platform/linux/BluezPairing.h"

#include <chrono>

namespace zolvex {

namespace {

using Clock = std::chrono::steady_clock;

std::int32_t statusOf(const BluezAnswer& answer) {
  return answer.isAlreadyConnected() ? ioReturn::success : answer.ioReturnStatus();
}

}  // namespace

bool BluezClassicDevice::isConnected() {
  const auto device = adapter_.known(device_.address).device;
  if (!device || !device->isConnected || !device->isPaired) {
    isInUse_.reset();  // the next link is another one
    return false;
  }
  device_ = *device;
  // BlueZ calls a device connected as soon as there is a link, even one that is about to be given up: one of a pairing
  // or connection that has failed, or that hangs. Whether it is in use it says only in answer to this: ServicesResolved
  // comes true with a pairing already, when nothing uses the services yet.
  if (!isInUse_) isInUse_ = statusOf(bus_.call(connectCall(), useCheckLimit)) == ioReturn::success;
  return *isInUse_;
}

int BluezClassicDevice::rssi() {
  const auto property = bus_.deviceProperty(device_.path, "RSSI");
  const auto* reading = std::get_if<std::int64_t>(&property);
  return reading ? static_cast<int>(*reading) : noRssiReading;
}

std::int32_t BluezClassicDevice::openConnection() {
  const auto status = attempt();
  isInUse_ = status == ioReturn::success;
  return status;
}

std::int32_t BluezClassicDevice::attempt() {
  auto device = adapter_.inRange(device_.address).device;
  if (device && refusedBonds_ == refusalsBeforeNewBond) {
    adapter_.remove(*device);
    device = adapter_.inRange(device_.address).device;
  }
  if (device && !device->isPaired) {
    refusedBonds_ = 0;
    const auto status = BluezPairing(bus_, adapter_).pair(*device);
    if (status != ioReturn::success) return status;
    device = adapter_.known(device_.address).device;
  }
  if (!device) return ioReturn::noDevice;
  device_ = *device;
  return connectPaired();
}

std::int32_t BluezClassicDevice::connectPaired() {
  // Lets the device come back by itself later. Without a lasting bond that would let it in as a stranger.
  if (device_.isBonded && !device_.isTrusted) bus_.setDeviceFlag(device_.path, "Trusted", true);
  BluezWatch watch(bus_);
  watch.followDevice(device_.path);
  // When the adapter goes, the device goes with it, and nobody answers any more.
  const auto isGone = [&] { return watch.wasRemoved(device_.path); };
  const auto answer = bus_.callWithEvents(connectCall(), connectLimit, isGone);
  if (answer.isInProgress()) return awaitRunningConnection(isGone);
  const auto status = statusOf(answer);
  if (status != ioReturn::success) noteRefusal(watch);
  return status;
}

void BluezClassicDevice::noteRefusal(const BluezWatch& watch) {
  bus_.waitUntil([&] { return watch.hasLostLink() || watch.isOver(); }, refusalLimit);
  refusedBonds_ = watch.hasLostLink() ? refusedBonds_ + 1 : 0;
}

std::int32_t BluezClassicDevice::awaitRunningConnection(const std::function<bool()>& isGone) const {
  const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(runningConnectionLimit);
  BluezAnswer answer;
  do {
    bus_.waitUntil(isGone, runningConnectionPause);
    answer = bus_.callWithEvents(connectCall(), connectLimit, isGone);
  } while (answer.isInProgress() && Clock::now() < deadline);
  return statusOf(answer);
}

SdBusMessage BluezClassicDevice::connectCall() const {
  return bus_.message(device_.path, bluez::deviceInterface, "Connect");
}

}  // namespace zolvex
