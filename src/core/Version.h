#pragma once

#include <string>
#include <string_view>

namespace zolvex {

/// The project's version, as in "0.1.0".
std::string_view shortVersion();

/// The number of commits that it was built from; "?" when that cannot be known.
std::string_view buildNumber();

/// Both, as in "0.1.0 (123)".
std::string versionText();

}  // namespace zolvex
