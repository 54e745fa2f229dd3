#include "platform/linux/BluezClassicDevice.h"

#include "platform/linux/BluezPairing.h"

namespace zolvex {

bool BluezClassicDevice::isConnected() {
  const auto property = bus_.deviceProperty(path_, "Connected");
  if (const auto* connected = std::get_if<bool>(&property)) return *connected;
  const auto device = adapter_.known(address_);
  return device && device->isConnected;
}

int BluezClassicDevice::rssi() {
  const auto property = bus_.deviceProperty(path_, "RSSI");
  const auto* reading = std::get_if<std::int64_t>(&property);
  return reading ? static_cast<int>(*reading) : noRssiReading;
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
  if (device.isBonded && !device.isTrusted) bus_.setDeviceFlag(path_, "Trusted", true);
  const auto answer = bus_.call(bus_.message(path_, bluez::deviceInterface, "Connect"), connectLimit);
  if (answer.isInProgress()) return awaitRunningConnection();
  return answer.isAlreadyConnected() ? ioReturn::success : answer.ioReturnStatus();
}

std::int32_t BluezClassicDevice::awaitRunningConnection() const {
  BluezWatch watch(bus_);
  watch.followDevice(path_);
  if (bus_.deviceProperty(path_, "Connected") == BluezValue(true)) return ioReturn::success;
  bus_.waitUntil([&] { return watch.becameTrue("Connected") || watch.isOver(); }, runningConnectionLimit);
  return watch.becameTrue("Connected") ? ioReturn::success : ioReturn::busy;
}

}  // namespace zolvex
