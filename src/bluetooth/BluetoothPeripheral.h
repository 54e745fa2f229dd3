#pragma once

#include <string>

namespace zolvex {

/// One managed device.
struct BluetoothPeripheral {
  std::string id;            ///< Bluetooth address as the platform prints it: six hexadecimal groups joined by hyphens.
  std::string name;          ///< Name saved when the device was chosen; the address when none was saved.
  bool isConnected = false;  ///< Last known state; never persisted.

  bool operator==(const BluetoothPeripheral&) const = default;
};

}  // namespace zolvex
