#pragma once

namespace zolvex::control::exitStatus {

inline constexpr int done = 0;
inline constexpr int endedBadly = 1;  ///< Refused, or begun and not reached.
inline constexpr int usage = 2;       ///< Also a setting or a value that does not exist.
inline constexpr int notRunning = 3;

}  // namespace zolvex::control::exitStatus
