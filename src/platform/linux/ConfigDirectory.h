#pragma once

#include <string>

namespace zolvex {

/// This user's home directory: HOME, or what the user database says. Empty when it cannot be known.
std::string homeDirectory();

/// The folder that the environment's `variable` names with an absolute path, or else `otherwise` in the home directory.
std::string userFolder(const char* variable, const std::string& otherwise);

/// Where this user's programs keep their configuration: XDG_CONFIG_HOME, or ~/.config where that is not set to an
/// absolute path. It may not exist yet.
std::string userConfigHome();

/// Where this user's Zolvex keeps its files: "zolvex" in userConfigHome(). It may not exist yet.
std::string configDirectory();

}  // namespace zolvex
