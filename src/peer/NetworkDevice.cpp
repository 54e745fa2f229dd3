#include "peer/NetworkDevice.h"

#include "core/Text.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdint>
#include <limits>

namespace zolvex {

namespace {

using nlohmann::ordered_json;

/// 2001-01-01 00:00:00 UTC, the epoch of stored dates.
constexpr Date referenceDate{std::chrono::seconds(978'307'200)};
/// Dates further away than this (in seconds) are damage: they would not fit the clock's range.
constexpr double furthestDate = 8.0e9;

double secondsOf(Date date) {
  // As microseconds first: these fit a double exactly, the clock's own finer ticks do not.
  return Seconds(std::chrono::round<std::chrono::microseconds>(date - referenceDate)).count();
}

Date dateOf(const nlohmann::json& value) {
  const auto seconds = value.is_number() ? value.get<double>() : std::nan("");
  if (!(std::abs(seconds) < furthestDate)) throw nlohmann::json::other_error::create(501, "date out of range", &value);
  return referenceDate + std::chrono::round<std::chrono::microseconds>(Seconds(seconds));
}

ordered_json encoded(const NetworkDevice& device) {
  ordered_json record{{"id", device.id}, {"name", device.name}};
  if (device.host) record["host"] = *device.host;
  if (device.port) record["port"] = *device.port;
  record["lastUpdated"] = secondsOf(device.lastUpdated);
  record["isActive"] = device.isActive;
  if (device.lastReachableAt) record["lastReachableAt"] = secondsOf(*device.lastReachableAt);
  return record;
}

/// None when the key is absent or null.
const nlohmann::json* optionalField(const nlohmann::json& record, const char* key) {
  const auto found = record.find(key);
  return found == record.end() || found->is_null() ? nullptr : &*found;
}

std::uint16_t portOf(const nlohmann::json& value) {
  // Not as an integer, because a whole number may have been written as 8080.0.
  const auto number = value.is_number() ? value.get<double>() : std::nan("");
  const auto isPort =
      number >= 0 && number <= std::numeric_limits<std::uint16_t>::max() && number == std::trunc(number);
  if (!isPort) throw nlohmann::json::other_error::create(501, "port out of range", &value);
  return static_cast<std::uint16_t>(number);
}

NetworkDevice decoded(const nlohmann::json& record) {
  NetworkDevice device;
  device.id = record.at("id").get<std::string>();
  device.name = record.at("name").get<std::string>();
  if (const auto* host = optionalField(record, "host")) device.host = host->get<std::string>();
  if (const auto* port = optionalField(record, "port")) device.port = portOf(*port);
  device.lastUpdated = dateOf(record.at("lastUpdated"));
  device.isActive = record.at("isActive").get<bool>();
  if (const auto* date = optionalField(record, "lastReachableAt")) device.lastReachableAt = dateOf(*date);
  return device;
}

}  // namespace

std::optional<std::string> encodeNetworkDevices(std::span<const NetworkDevice> devices) {
  auto array = ordered_json::array();
  for (const auto& device : devices) {
    if (!isUtf8(device.id) || !isUtf8(device.name) || !isUtf8(device.host.value_or(""))) return std::nullopt;
    array.push_back(encoded(device));
  }
  return array.dump();
}

std::variant<std::vector<NetworkDevice>, NetworkDevicesError> decodeNetworkDevices(std::string_view json) {
  try {
    const auto array = nlohmann::json::parse(json);
    if (!array.is_array()) return NetworkDevicesError{"the JSON value is not an array"};
    std::vector<NetworkDevice> devices;
    for (const auto& record : array) devices.push_back(decoded(record));
    return devices;
  } catch (const nlohmann::json::exception& error) {
    return NetworkDevicesError{escapedForLog(error.what())};
  }
}

}  // namespace zolvex
