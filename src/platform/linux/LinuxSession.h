#pragma once

#include "platform/linux/BusService.h"
#include "platform/linux/LinuxDisplayWaker.h"
#include "platform/linux/LinuxSessionEvents.h"
#include "platform/linux/LogindSession.h"
#include "platform/linux/LogindSleep.h"
#include "platform/linux/MutterDisplayPower.h"
#include "platform/linux/ScreenSaverService.h"
#include "platform/linux/X11DisplayPower.h"

namespace zolvex {

/// Everything that Linux offers about the session of the user at this computer: its events from every service that
/// tells of them, the inhibitor that delays sleep, and the waking of the display. Any of the services may be missing.
/// Owned by the application. Main thread.
class LinuxSession {
 public:
  /// Before the links are started; they must outlive this.
  LinuxSession(MainQueue& mainQueue, BusLink& systemBus, BusLink& sessionBus);

  /// Begins to watch what is not reached through the buses: an X server, where the session has one of its own.
  void start();

  SessionEvents& events() { return events_; }
  SleepInhibitor& sleepInhibitor() { return sleep_; }
  DisplayWaker& displayWaker() { return waker_; }

 private:
  LinuxSessionEvents events_;

  BusService logind_;
  BusService freedesktopScreenSaver_;
  BusService gnomeScreenSaver_;
  BusService mutter_;

  LogindSleep sleep_;
  LogindSession session_;
  ScreenSaverService freedesktopActivity_;
  ScreenSaverService gnomeActivity_;
  MutterDisplayPower mutterPower_;
  X11DisplayPower x11_;
  LinuxDisplayWaker waker_;
};

}  // namespace zolvex
