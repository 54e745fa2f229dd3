#pragma once

#include "core/Published.h"
#include "ownership/SessionEvents.h"
#include "platform/linux/SessionAspect.h"

#include <array>
#include <string>

namespace zolvex {

/// The events of the session, each told once although several system services know of it: they report to an aspect,
/// and what an aspect tells becomes an event and a log line. Knows no service itself.
/// Owned by LinuxSession, before the adapters that report. Main thread.
class LinuxSessionEvents final : public SessionEvents {
 public:
  explicit LinuxSessionEvents(MainQueue& mainQueue);

  [[nodiscard]] Subscription observe(SessionEvent event, std::function<void()> observer) override;

  SessionAspect& systemAsleep() { return systemAsleep_; }
  SessionAspect& displayOff() { return displayOff_; }
  SessionAspect& screenLocked() { return screenLocked_; }

 private:
  static constexpr std::size_t eventCount = 6;

  SessionAspect::Tell teller(SessionEvent beginning, SessionEvent end);
  void happened(SessionEvent event, const std::string& teller);

  std::array<Signal<>, eventCount> observers_;
  SessionAspect systemAsleep_;
  SessionAspect displayOff_;
  SessionAspect screenLocked_;
};

}  // namespace zolvex
