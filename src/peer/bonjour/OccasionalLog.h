#pragma once

#include "core/Log.h"
#include "core/Time.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string_view>

namespace zolvex {

/// Logs misbehaviour that anybody on the network can show, each kind at most once in `pause`. What is logged of
/// well-formed messages and services does not go through here and has no limit. One thread.
class OccasionalLog {
 public:
  enum class Kind {
    frameTooSlow,
    frameTooLong,
    tooManyConnections,
    tooManyCommands,
    notText,
    replyTooLate,
    acceptFailed
  };

  OccasionalLog(Logger log, Seconds pause) : log_(log), pause_(pause) {}

  void error(Kind kind, std::string_view message) {
    auto& last = lastLogged_.at(static_cast<std::size_t>(kind));
    const auto now = std::chrono::steady_clock::now();
    if (last && now - *last < pause_) return;
    last = now;
    log_.error("{}", message);
  }

 private:
  static constexpr std::size_t kinds = 7;

  Logger log_;
  Seconds pause_;
  std::array<std::optional<std::chrono::steady_clock::time_point>, kinds> lastLogged_;
};

}  // namespace zolvex
