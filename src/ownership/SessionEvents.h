#pragma once

#include "core/Published.h"

#include <functional>

namespace zolvex {

/// What can happen to the session of the user who is at this computer.
enum class SessionEvent {
  systemWillSleep,
  systemDidWake,
  displayDidSleep,
  displayDidWake,
  screenLocked,
  screenUnlocked
};

/// Tells of these events. However many sources report one of them, it is told once. Sources may be absent, come late
/// or go away; an event that none of them reports is never told. Main thread.
class SessionEvents {
 public:
  virtual ~SessionEvents() = default;

  /// `observer` runs on the main thread each time `event` happens.
  [[nodiscard]] virtual Subscription observe(SessionEvent event, std::function<void()> observer) = 0;
};

}  // namespace zolvex
