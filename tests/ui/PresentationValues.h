#pragma once

#include "bluetooth/BluetoothPeripheral.h"
#include "core/Time.h"
#include "ownership/DeviceOwnershipState.h"
#include "peer/NetworkDevice.h"

#include <array>
#include <string>
#include <vector>

namespace zolvex::test {

// clang-format off
inline constexpr std::array allOwnershipStates{
    DeviceOwnershipState::unknown,
    DeviceOwnershipState::thisMac,
    DeviceOwnershipState::partiallyThisMac,
    DeviceOwnershipState::otherMac,
    DeviceOwnershipState::released,
    DeviceOwnershipState::switchingToThisMac,
    DeviceOwnershipState::releasing,
    DeviceOwnershipState::failed,
    DeviceOwnershipState::connecting,
};
// clang-format on

/// Devices of these names, connected or not, with addresses by their position.
inline std::vector<BluetoothPeripheral> devicesNamed(const std::vector<std::string>& names, bool isConnected = false) {
  std::vector<BluetoothPeripheral> devices;
  for (const auto& name : names)
    devices.push_back({"0a-00-00-00-00-0" + std::to_string(devices.size()), name, isConnected});
  return devices;
}

inline const Date now = Date(std::chrono::hours(500'000));

/// A peer that was reachable `age` before `now`.
inline NetworkDevice peerHeardOf(Seconds age) {
  NetworkDevice peer;
  peer.id = "ab12-cd34-ef";
  peer.name = "Studio";
  peer.host = "192.0.2.7";
  peer.isActive = true;
  peer.lastReachableAt = now - std::chrono::duration_cast<Date::duration>(age);
  return peer;
}

}  // namespace zolvex::test
