#include "platform/linux/DisplayServer.h"

#include <cstdlib>
#include <utility>

namespace zolvex {

namespace {

std::string variable(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

}  // namespace

DisplayServer DisplayServer::ofEnvironment() {
  if (!variable("WAYLAND_DISPLAY").empty() || variable("XDG_SESSION_TYPE") == "wayland") return {Kind::wayland, {}};
  if (auto display = variable("DISPLAY"); !display.empty()) return {Kind::x11, std::move(display)};
  return {};
}

}  // namespace zolvex
