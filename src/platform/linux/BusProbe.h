#pragma once

#include <chrono>
#include <string>

namespace zolvex {

/// How long a bus may take to speak before it counts as hung.
inline constexpr std::chrono::milliseconds busProbeLimit{2'000};

/// `missing`: there is none, or it does not want us. `silent`: it takes connections and says no more.
enum class BusState { missing, silent, answering };

/// Connects to the bus at `address` up to the reply to "Hello". Connecting with Qt to a bus that falls silent on that
/// way would hold up every other bus of this process, without a limit.
/// Blocks for at most `limit`. Any thread.
BusState probeBus(const std::string& address, std::chrono::milliseconds limit = busProbeLimit);

/// Whether it is worth connecting to.
bool busAnswers(const std::string& address, std::chrono::milliseconds limit = busProbeLimit);

}  // namespace zolvex
