#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zolvex {

/// Addresses print with hyphens ("AA-BB-CC-DD-EE-FF") in the whole program and with colons in BlueZ. Both are taken, in
/// upper or lower case; this is where one becomes the other.

/// The address as BlueZ writes it, in upper case; none when `text` is no address.
std::optional<std::string> bluezAddress(std::string_view text);

/// The address as the program prints it.
std::string printedAddress(std::string bluezAddress);

/// Whether two texts are the same but for the case of their letters.
bool isSameAddress(std::string_view left, std::string_view right);

}  // namespace zolvex
