#include "bluetooth/PairedDevicePayload.h"

#include "core/Text.h"

#include <nlohmann/json.hpp>

namespace zolvex {

std::optional<std::string> encodePairedDevices(std::span<const PairedDevicePayload> devices) {
  auto array = nlohmann::ordered_json::array();
  for (const auto& device : devices) {
    if (!isUtf8(device.id) || !isUtf8(device.name)) return std::nullopt;
    array.push_back({{"id", device.id}, {"name", device.name}, {"isConnected", device.isConnected}});
  }
  return array.dump();
}

std::variant<std::vector<PairedDevicePayload>, PairedDevicesError> decodePairedDevices(std::string_view json) {
  try {
    const auto array = nlohmann::json::parse(json);
    if (!array.is_array()) return PairedDevicesError{"the JSON value is not an array"};
    std::vector<PairedDevicePayload> devices;
    for (const auto& record : array)
      devices.push_back({record.at("id").get<std::string>(), record.at("name").get<std::string>(),
                         record.at("isConnected").get<bool>()});
    return devices;
  } catch (const nlohmann::json::exception& error) {
    return PairedDevicesError{escapedForLog(error.what())};
  }
}

}  // namespace zolvex
