#include "platform/linux/ConfigDirectory.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace zolvex {

namespace {

std::string homeDirectory() {
  if (const char* home = std::getenv("HOME"); home && *home) return home;
  const auto* user = getpwuid(getuid());
  return user ? user->pw_dir : "";
}

}  // namespace

std::string userConfigHome() {
  const char* base = std::getenv("XDG_CONFIG_HOME");
  return base && *base == '/' ? base : homeDirectory() + "/.config";
}

std::string configDirectory() {
  return userConfigHome() + "/zolvex";
}

}  // namespace zolvex
