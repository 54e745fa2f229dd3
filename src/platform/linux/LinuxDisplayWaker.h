#pragma once

#include "ownership/DisplayWaker.h"

namespace zolvex {

class BusLink;
class X11DisplayPower;

/// Wakes the display the ways there are on Linux: the desktop's screen saver service is told that the user is active,
/// and an X server ends its screen saver and switches its displays on. Where neither is there, nothing happens.
/// Owned by LinuxSession. Main thread.
class LinuxDisplayWaker final : public DisplayWaker {
 public:
  /// Both must outlive this.
  LinuxDisplayWaker(BusLink& sessionBus, X11DisplayPower& x11) : sessionBus_(sessionBus), x11_(x11) {}

  void wakeDisplay() override;

 private:
  BusLink& sessionBus_;
  X11DisplayPower& x11_;
};

}  // namespace zolvex
