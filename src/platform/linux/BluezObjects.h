#pragma once

#include "platform/linux/BluezProperties.h"

#include <optional>
#include <string>
#include <vector>

namespace zolvex {

/// An adapter as BlueZ describes it (org.bluez.Adapter1).
struct BluezAdapter {
  std::string path;
  std::string address;
  bool isPowered = false;
};

/// A device as BlueZ describes it (org.bluez.Device1).
struct BluezDevice {
  std::string path;
  std::string adapterPath;
  std::string address;
  std::optional<std::string> name;  ///< The alias, else the name it has given itself.
  bool isPaired = false;
  bool isBonded = false;  ///< The pairing will last. Older daemons do not tell; then it is `isPaired`.
  bool isTrusted = false;
  bool isConnected = false;
};

/// All adapters and devices that BlueZ had at one moment, each kind in the order of the object paths.
struct BluezObjects {
  std::vector<BluezAdapter> adapters;
  std::vector<BluezDevice> devices;

  /// From the reply to GetManagedObjects; empty when that is something else. Properties that are missing or of another
  /// type than they should count as their default.
  static BluezObjects fromReply(sd_bus_message* reply);

  const BluezAdapter* adapterAt(const std::string& path) const;
  const BluezDevice* deviceWithAddress(const std::string& adapterPath, const std::string& address) const;
};

}  // namespace zolvex
