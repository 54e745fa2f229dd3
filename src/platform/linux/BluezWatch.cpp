#include "platform/linux/BluezWatch.h"

#include <string_view>

namespace zolvex {

namespace {

std::string signalRule(const std::string& sender, const std::string& path, const std::string& interface,
                       const std::string& member) {
  return "type='signal',sender='" + sender + "',path='" + path + "',interface='" + interface + "',member='" + member +
         "'";
}

}  // namespace

// The matches name the daemon by its unique name: what another one announces later is not meant.
BluezWatch::BluezWatch(const BluezBus& bus) : bus_(bus), owner_(bus.owner()), isOver_(owner_.empty()) {
  if (isOver_) return;
  const std::string manager = "org.freedesktop.DBus.ObjectManager";
  const std::string daemon = "org.freedesktop.DBus";
  match<&BluezWatch::onOwnerChanged>(signalRule(daemon, "/org/freedesktop/DBus", daemon, "NameOwnerChanged") +
                                     ",arg0='" + owner_ + "'");
  match<&BluezWatch::onInterfacesAdded>(signalRule(owner_, "/", manager, "InterfacesAdded"));
  match<&BluezWatch::onInterfacesRemoved>(signalRule(owner_, "/", manager, "InterfacesRemoved"));
  // It may have ended before the match was in place.
  isOver_ = bus.owner() != owner_;
}

void BluezWatch::followDevice(const std::string& path) {
  match<&BluezWatch::onPropertiesChanged>(
      signalRule(owner_, path, "org.freedesktop.DBus.Properties", "PropertiesChanged"));
}

template <BluezWatch::Handler handler>
void BluezWatch::match(const std::string& rule) {
  const auto callback = [](sd_bus_message* message, void* watch, sd_bus_error*) {
    (static_cast<BluezWatch*>(watch)->*handler)(message);
    return 0;
  };
  sd_bus_slot* slot = nullptr;
  if (bus_.handle() && sd_bus_add_match_async(bus_.handle(), &slot, rule.c_str(), callback, nullptr, this) >= 0)
    matches_.emplace_back(slot);
}

void BluezWatch::onInterfacesAdded(sd_bus_message*) {
  arrived_ = true;
}

void BluezWatch::onInterfacesRemoved(sd_bus_message* announcement) {
  const char* path = nullptr;
  if (sd_bus_message_read_basic(announcement, SD_BUS_TYPE_OBJECT_PATH, &path) <= 0) return;
  if (sd_bus_message_enter_container(announcement, SD_BUS_TYPE_ARRAY, "s") <= 0) return;
  const char* interface = nullptr;
  while (sd_bus_message_read_basic(announcement, SD_BUS_TYPE_STRING, &interface) > 0)
    if (std::string_view(interface) == bluez::deviceInterface || std::string_view(interface) == bluez::adapterInterface)
      removed_.insert(path);
}

void BluezWatch::onPropertiesChanged(sd_bus_message* announcement) {
  const char* interface = nullptr;
  BluezProperties properties;
  if (sd_bus_message_read_basic(announcement, SD_BUS_TYPE_STRING, &interface) <= 0) return;
  if (std::string_view(interface) != bluez::deviceInterface || !properties.read(announcement)) return;
  if (!properties.flag("Connected", true)) hasLostLink_ = true;
  changed_.merge(std::move(properties));
}

void BluezWatch::onOwnerChanged(sd_bus_message*) {
  isOver_ = true;  // a unique name changes only by its end
}

}  // namespace zolvex
