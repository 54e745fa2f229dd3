#pragma once

#include "bluetooth/BluetoothPeripheralStore.h"
#include "control/ControlError.h"
#include "core/UserDefaults.h"

#include <span>
#include <string>
#include <vector>

namespace zolvex::control {

/// Saves the user's choice of managed devices as the settings page does: names of the paired ones, then the
/// addresses, then the store loads them. Stateless; main thread.
class DeviceSelection {
 public:
  using Paired = std::vector<PairedDevicePayload>;

  DeviceSelection(UserDefaults& defaults, BluetoothPeripheralStore& store) : defaults_(defaults), store_(store) {}

  /// Addresses may be written with hyphens or colons, in any case; each must be that of a paired or of a managed
  /// device. Saves nothing when one is refused.
  Refusal save(std::span<const std::string> addresses, const Paired& paired);

 private:
  std::string knownSpelling(const std::string& address, const Paired& paired) const;
  void saveNames(const StringArray& selected, const Paired& paired);

  UserDefaults& defaults_;
  BluetoothPeripheralStore& store_;
};

}  // namespace zolvex::control
