#pragma once

namespace zolvex::lab {

/// What a shell adds to the number of the signal that ended a program, for its exit status.
inline constexpr int signalStatusBase = 128;

}  // namespace zolvex::lab
