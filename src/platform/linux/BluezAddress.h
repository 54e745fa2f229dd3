#pragma once

#include <QString>

#include <optional>
#include <string>

namespace zolvex {

/// Addresses print with hyphens ("AA-BB-CC-DD-EE-FF") in the whole program and with colons in BlueZ. Both are taken, in
/// upper or lower case; this is where one becomes the other.

/// The address as BlueZ writes it, in upper case; none when `text` is no address.
std::optional<QString> bluezAddress(const QString& text);
std::optional<QString> bluezAddress(const std::string& text);

/// The address as the program prints it.
std::string printedAddress(QString bluezAddress);

}  // namespace zolvex
