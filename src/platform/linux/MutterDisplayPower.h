#pragma once

#include "platform/linux/BusProperty.h"
#include "platform/linux/SessionAspect.h"

namespace zolvex {

class BusService;

/// Whether GNOME has switched the displays off: PowerSaveMode of org.gnome.Mutter.DisplayConfig on the session bus.
/// Owned by LinuxSession. Main thread.
class MutterDisplayPower {
 public:
  /// `displayConfig` and `displayOff` must outlive this.
  MutterDisplayPower(BusService& displayConfig, SessionAspect& displayOff);

 private:
  SessionAspect& displayOff_;
  const SessionAspect::Source source_;
  BusProperty powerSaveMode_;
};

}  // namespace zolvex
