#pragma once

#include <string>

namespace zolvex {

/// Where this user's Zolvex keeps its files: "zolvex" in XDG_CONFIG_HOME, or in ~/.config where that is not set to an
/// absolute path. It may not exist yet.
std::string configDirectory();

}  // namespace zolvex
