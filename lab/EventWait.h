#pragma once

#include <chrono>
#include <functional>

namespace zolvex::lab {

/// Serves this thread's events until `condition` holds; false when it does not within `limit`. A condition that no
/// event announces is looked at every 10 ms, too.
bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit);

}  // namespace zolvex::lab
