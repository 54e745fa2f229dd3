#pragma once

namespace zolvex {

/// Lights the display, as a user's touch would. Main thread.
class DisplayWaker {
 public:
  virtual ~DisplayWaker() = default;

  /// Returns at once. That the display could not be woken is not told.
  virtual void wakeDisplay() = 0;
};

}  // namespace zolvex
