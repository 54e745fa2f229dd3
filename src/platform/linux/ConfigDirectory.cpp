#include "platform/linux/ConfigDirectory.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace zolvex {

std::string homeDirectory() {
  if (const char* home = std::getenv("HOME"); home && *home) return home;
  const auto* user = getpwuid(getuid());
  return user ? user->pw_dir : "";
}

std::string userFolder(const char* variable, const std::string& otherwise) {
  const char* folder = std::getenv(variable);
  return folder && *folder == '/' ? folder : homeDirectory() + "/" + otherwise;
}

std::string userConfigHome() {
  return userFolder("XDG_CONFIG_HOME", ".config");
}

std::string configDirectory() {
  return userConfigHome() + "/zolvex";
}

}  // namespace zolvex
