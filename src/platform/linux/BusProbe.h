#pragma once

#include <chrono>
#include <string>

namespace zolvex {

/// How long a bus may take to speak before it counts as hung.
inline constexpr std::chrono::milliseconds busProbeLimit{2'000};

/// Whether the bus at `address` answers: connects to it up to the reply to "Hello". Connecting with Qt to a bus that
/// falls silent on that way would hold up every other bus of this process, without a limit.
/// Blocks for at most `limit`. Any thread.
bool busAnswers(const std::string& address, std::chrono::milliseconds limit = busProbeLimit);

}  // namespace zolvex
