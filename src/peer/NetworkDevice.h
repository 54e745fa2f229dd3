#pragma once

#include "core/Time.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace zolvex {

/// The other computer, as this one knows it.
struct NetworkDevice {
  std::string id;                       ///< Short identity, upper case; records are matched by it.
  std::string name;                     ///< Display name.
  std::optional<std::string> host;      ///< Numeric address; none for a peer known only over Bluetooth LE.
  std::optional<std::uint16_t> port;    ///< TCP port of its listener.
  Date lastUpdated{};                   ///< When the record last changed.
  bool isActive = false;                ///< The last verdict on its reachability.
  std::optional<Date> lastReachableAt;  ///< When it last answered; none after a failed request.

  bool operator==(const NetworkDevice&) const = default;
};

/// A JSON array of records keyed by the field names. Absent optionals are left out; dates are seconds since
/// 2001-01-01 00:00 UTC, of microsecond precision. None when a text is not UTF-8.
std::optional<std::string> encodeNetworkDevices(std::span<const NetworkDevice> devices);

struct NetworkDevicesError {
  std::string description;
};

/// The whole list or an error: a record with a missing or mistyped field spoils it.
std::variant<std::vector<NetworkDevice>, NetworkDevicesError> decodeNetworkDevices(std::string_view json);

}  // namespace zolvex
