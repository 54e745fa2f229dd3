#pragma once

#include "bluetooth/BluetoothPeripheral.h"
#include "ui/Colour.h"
#include "ui/Symbol.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zolvex {

/// One managed device in the popover's list.
struct DeviceRow {
  std::string id;
  Symbol symbol;
  std::string name;
  Colour dot;
  std::string_view caption;  ///< Shown while switching, empty otherwise.

  bool operator==(const DeviceRow&) const = default;
};

/// In the order of `devices`.
std::vector<DeviceRow> presentDevices(std::span<const BluetoothPeripheral> devices, bool isSwitching);

/// The kind of device that its name suggests.
Symbol deviceSymbol(std::string_view deviceName);

}  // namespace zolvex
