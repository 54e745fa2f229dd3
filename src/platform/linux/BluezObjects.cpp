#include "platform/linux/BluezObjects.h"

#include "platform/linux/BluezAddress.h"

#include <algorithm>
#include <string_view>

namespace zolvex {

namespace {

std::optional<std::string> nameFrom(const BluezProperties& properties) {
  // For a device without a name BlueZ makes up an alias from the address.
  const auto substitute = printedAddress(properties.text("Address"));
  for (const auto* key : {"Alias", "Name"})
    if (auto name = properties.text(key); !name.empty() && !isSameAddress(name, substitute)) return name;
  return std::nullopt;
}

BluezAdapter adapterFrom(const std::string& path, const BluezProperties& properties) {
  return {.path = path, .address = properties.text("Address"), .isPowered = properties.flag("Powered")};
}

BluezDevice deviceFrom(const std::string& path, const BluezProperties& properties) {
  const bool isPaired = properties.flag("Paired");
  return {.path = path,
          .adapterPath = properties.text("Adapter"),
          .address = properties.text("Address"),
          .name = nameFrom(properties),
          .isPaired = isPaired,
          .isBonded = properties.flag("Bonded", isPaired),
          .isTrusted = properties.flag("Trusted"),
          .isConnected = properties.flag("Connected")};
}

/// Reads one interface of the object at `path` (an entry of a{sa{sv}}).
void readInterface(sd_bus_message* reply, const std::string& path, BluezObjects& objects) {
  const char* name = nullptr;
  if (sd_bus_message_read_basic(reply, SD_BUS_TYPE_STRING, &name) <= 0) return;
  const std::string_view interface = name;
  if (interface != "org.bluez.Adapter1" && interface != "org.bluez.Device1") {
    sd_bus_message_skip(reply, "a{sv}");
    return;
  }
  BluezProperties properties;
  properties.read(reply);
  if (interface == "org.bluez.Adapter1") objects.adapters.push_back(adapterFrom(path, properties));
  if (interface == "org.bluez.Device1") objects.devices.push_back(deviceFrom(path, properties));
}

/// Reads one object (an entry of a{oa{sa{sv}}}).
void readObject(sd_bus_message* reply, BluezObjects& objects) {
  const char* path = nullptr;
  if (sd_bus_message_read_basic(reply, SD_BUS_TYPE_OBJECT_PATH, &path) <= 0) return;
  if (sd_bus_message_enter_container(reply, SD_BUS_TYPE_ARRAY, "{sa{sv}}") <= 0) return;
  while (sd_bus_message_enter_container(reply, SD_BUS_TYPE_DICT_ENTRY, "sa{sv}") > 0) {
    readInterface(reply, path, objects);
    sd_bus_message_exit_container(reply);
  }
  sd_bus_message_exit_container(reply);
}

template <class Object>
void sortByPath(std::vector<Object>& objects) {
  std::sort(objects.begin(), objects.end(),
            [](const Object& left, const Object& right) { return left.path < right.path; });
}

}  // namespace

BluezObjects BluezObjects::fromReply(sd_bus_message* reply) {
  BluezObjects objects;
  if (!reply || !sd_bus_message_has_signature(reply, "a{oa{sa{sv}}}")) return objects;
  sd_bus_message_enter_container(reply, SD_BUS_TYPE_ARRAY, "{oa{sa{sv}}}");
  while (sd_bus_message_enter_container(reply, SD_BUS_TYPE_DICT_ENTRY, "oa{sa{sv}}") > 0) {
    readObject(reply, objects);
    sd_bus_message_exit_container(reply);
  }
  sortByPath(objects.adapters);
  sortByPath(objects.devices);
  return objects;
}

const BluezAdapter* BluezObjects::adapterAt(const std::string& path) const {
  const auto found =
      std::find_if(adapters.begin(), adapters.end(), [&](const BluezAdapter& adapter) { return adapter.path == path; });
  return found == adapters.end() ? nullptr : &*found;
}

const BluezDevice* BluezObjects::deviceWithAddress(const std::string& adapterPath, const std::string& address) const {
  const auto found = std::find_if(devices.begin(), devices.end(), [&](const BluezDevice& device) {
    return device.adapterPath == adapterPath && isSameAddress(device.address, address);
  });
  return found == devices.end() ? nullptr : &*found;
}

}  // namespace zolvex
