#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace zolvex {

/// One paired device in the worker's JSON output, with the keys "id", "name" and "isConnected".
struct PairedDevicePayload {
  std::string id;
  std::string name;
  bool isConnected = false;

  bool operator==(const PairedDevicePayload&) const = default;
};

/// A compact JSON array, without a line feed; none when a text is not UTF-8.
std::optional<std::string> encodePairedDevices(std::span<const PairedDevicePayload> devices);

struct PairedDevicesError {
  std::string description;
};

/// Decodes a JSON array of records, each with all three keys of the right type; further keys are ignored.
std::variant<std::vector<PairedDevicePayload>, PairedDevicesError> decodePairedDevices(std::string_view json);

}  // namespace zolvex
