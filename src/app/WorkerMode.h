#pragma once

#include <string>
#include <vector>

namespace zolvex {

/// Runs one worker command on this process's standard streams and the system's Bluetooth stack.
/// `arguments` are those after the flag. Returns the exit status.
int runWorkerMode(const std::vector<std::string>& arguments);

}  // namespace zolvex
