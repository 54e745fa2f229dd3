#pragma once

#include <string_view>

namespace zolvex {

/// The name of the application towards the desktop: desktop file, icons, bus name.
inline constexpr std::string_view applicationId = "quenmar.zolvex.app";

}  // namespace zolvex
