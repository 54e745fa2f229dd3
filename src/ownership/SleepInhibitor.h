#pragma once

namespace zolvex {

/// Delays the sleep of this computer. It is held from the start and again after each wake, as far as the system
/// grants it; whatever its holder does, the system sleeps after a few seconds. Main thread.
class SleepInhibitor {
 public:
  virtual ~SleepInhibitor() = default;

  /// Lets the sleep that was announced begin. Harmless when nothing is held.
  virtual void allowSleep() = 0;
};

}  // namespace zolvex
