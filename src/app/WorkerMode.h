#pragma once

#include <string>
#include <vector>

namespace zolvex {

/// Runs one worker command on this process's standard streams and the system's Bluetooth stack, and ends the process
/// with its exit status. `arguments` are those after the flag.
[[noreturn]] void runWorkerMode(const std::vector<std::string>& arguments);

}  // namespace zolvex
