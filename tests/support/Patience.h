#pragma once

#include <chrono>

namespace zolvex::test {

/// Longest wait for something that is bound to happen; long, because machines that run tests are slow at times.
inline constexpr std::chrono::seconds patience{20};

}  // namespace zolvex::test
