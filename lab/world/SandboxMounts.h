#pragma once

#include <string>

namespace zolvex::lab {

/// Lays out the file system of a new mount namespace: an empty /run with what iproute2 and Avahi expect there, a user
/// database in which avahi is root (the only user that a user namespace surely has), and /proc of the new process
/// namespace. Empty when it worked, or else what did not.
std::string mountSandbox(const std::string& directory);

}  // namespace zolvex::lab
