#pragma once

#include <string_view>

namespace zolvex {

/// A colour by its role. What it looks like depends on the desktop's scheme, accent and contrast, and is decided where
/// it is drawn.
enum class Colour { primary, secondary, tertiary, accent, green, gray, orange, red, blue };

/// The case's own name, as in "secondary".
std::string_view nameOf(Colour colour);

}  // namespace zolvex
