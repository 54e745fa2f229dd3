#pragma once

#include <string>

namespace zolvex {

/// Where this user's programs keep their configuration: XDG_CONFIG_HOME, or ~/.config where that is not set to an
/// absolute path. It may not exist yet.
std::string userConfigHome();

/// Where this user's Zolvex keeps its files: "zolvex" in userConfigHome(). It may not exist yet.
std::string configDirectory();

}  // namespace zolvex
