#include "platform/linux/BluezClassicDevice.h"

#include "platform/linux/BluezErrors.h"
#include "platform/linux/BluezPairing.h"

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

bool BluezClassicDevice::isConnected() {
  if (const auto connected = property(u"Connected"_s); connected.isValid()) return connected.toBool();
  const auto device = adapter_.known(address_);
  return device && device->isConnected;
}

int BluezClassicDevice::rssi() {
  const auto reading = property(u"RSSI"_s);
  return reading.isValid() ? reading.toInt() : noRssiReading;
}

std::int32_t BluezClassicDevice::openConnection() {
  auto device = adapter_.inRange(address_);
  if (device && !device->isPaired) {
    const auto status = BluezPairing(bus_, adapter_).pair(*device);
    if (status != ioReturn::success) return status;
    device = adapter_.known(address_);
  }
  if (!device) return ioReturn::noDevice;
  path_ = device->path;
  return connectPaired(*device);
}

std::int32_t BluezClassicDevice::connectPaired(const BluezDevice& device) const {
  // Lets the device come back by itself later. Without a lasting bond that would let it in as a stranger.
  if (device.isBonded && !device.isTrusted) bus_.setProperty(path_, bluez::deviceInterface, u"Trusted"_s, true);
  const auto answer = bus_.call(path_, bluez::deviceInterface, u"Connect"_s, {}, connectLimit);
  if (isInProgress(answer)) return awaitRunningConnection();
  return isAlreadyConnected(answer) ? ioReturn::success : ioReturnOf(answer);
}

std::int32_t BluezClassicDevice::awaitRunningConnection() const {
  BluezWatch watch(bus_);
  watch.followDevice(path_);
  const auto connected = u"Connected"_s;
  if (property(connected).toBool()) return ioReturn::success;
  BluezBus::waitUntil([&] { return watch.becameTrue(connected) || watch.isOver(); }, runningConnectionLimit);
  return watch.becameTrue(connected) ? ioReturn::success : ioReturn::busy;
}

QVariant BluezClassicDevice::property(const QString& name) const {
  return bus_.property(path_, bluez::deviceInterface, name);
}

}  // namespace zolvex
