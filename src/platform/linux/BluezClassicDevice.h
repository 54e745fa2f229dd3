#pragma once

#include "bluetooth/worker/BluetoothClassicController.h"
#include "platform/linux/BluezClassicAdapter.h"

#include <cstdint>
#include <string>

namespace zolvex {

/// One device on the chosen adapter, known by its address: its object path is looked up again whenever BlueZ may have
/// changed it. Uses the controller's parts, which must outlive it. One thread.
class BluezClassicDevice final : public BluetoothClassicDevice {
 public:
  /// Longer than BlueZ itself takes to give up.
  static constexpr Seconds connectLimit{30.0};

  /// For the end of a connection that somebody else has begun.
  static constexpr Seconds runningConnectionLimit{8.0};

  BluezClassicDevice(const BluezBus& bus, const BluezClassicAdapter& adapter, const BluezDevice& device)
      : bus_(bus), adapter_(adapter), address_(device.address), path_(device.path) {}

  bool isConnected() override;
  int rssi() override;
  std::int32_t openConnection() override;
  bool removePairing() override { return adapter_.remove(address_); }

 private:
  std::int32_t connectPaired(const BluezDevice& device) const;
  std::int32_t awaitRunningConnection() const;

  const BluezBus& bus_;
  const BluezClassicAdapter& adapter_;
  const std::string address_;
  std::string path_;
};

}  // namespace zolvex
