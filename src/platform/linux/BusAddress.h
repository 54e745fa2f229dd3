#pragma once

#include <string>

namespace zolvex {

/// Where the two standard message buses are, as the environment says now: DBUS_SYSTEM_BUS_ADDRESS or the well-known
/// socket; DBUS_SESSION_BUS_ADDRESS or the bus in XDG_RUNTIME_DIR, empty without either.
std::string systemBusAddress();
std::string sessionBusAddress();

}  // namespace zolvex
