#pragma once

#include <chrono>

namespace zolvex {

/// A point in civil time. Used for everything that is stored, compared across restarts or shown.
using Date = std::chrono::system_clock::time_point;

/// Delays, limits and counts of time in the rules; sub-second values are common ("0.45 s").
using Seconds = std::chrono::duration<double>;

/// A date earlier than any that can occur.
inline constexpr Date distantPast{Date::duration::min() / 2};

}  // namespace zolvex
