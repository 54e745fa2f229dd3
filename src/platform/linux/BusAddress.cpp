#include "platform/linux/BusAddress.h"

#include <cstdlib>

namespace zolvex {

namespace {

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

}  // namespace

std::string systemBusAddress() {
  const auto address = environment("DBUS_SYSTEM_BUS_ADDRESS");
  return address.empty() ? "unix:path=/var/run/dbus/system_bus_socket" : address;
}

std::string sessionBusAddress() {
  if (const auto address = environment("DBUS_SESSION_BUS_ADDRESS"); !address.empty()) return address;
  const auto directory = environment("XDG_RUNTIME_DIR");
  return directory.empty() ? "" : "unix:path=" + directory + "/bus";
}

}  // namespace zolvex
