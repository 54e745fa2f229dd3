#pragma once

#include <chrono>
#include <string>

namespace zolvex {

/// How long a bus may take to speak before it counts as hung.
inline constexpr std::chrono::milliseconds busProbeLimit{2'000};

/// Whether the bus at `address` answers at all: connects and asks which authentications there are. Connecting with Qt
/// to a bus that accepts but never speaks would hold up every other bus of this process, without a limit.
/// Blocks for at most `limit`. Addresses other than "unix:path=..." and "unix:abstract=..." are not judged and pass.
bool busAnswers(const std::string& address, std::chrono::milliseconds limit = busProbeLimit);

}  // namespace zolvex
