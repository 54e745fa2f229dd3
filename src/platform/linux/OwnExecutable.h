#pragma once

#include <optional>
#include <string>

namespace zolvex {

/// Path of the program that this process runs, to start it again; none when it cannot be found out or is gone.
/// When the file has been replaced since the start, by an upgrade, it is the path of the new one.
/// `link` is the kernel's link to the program's file.
std::optional<std::string> ownExecutable(const std::string& link = "/proc/self/exe");

/// What starts this program again at another time: the AppImage that `executable` runs from, whose files are there
/// only as long as it runs, or else `executable` itself.
std::optional<std::string> programToStart(const std::optional<std::string>& executable);

}  // namespace zolvex
