#include "platform/linux/LinuxSession.h"

#include "platform/linux/DisplayServer.h"
#include "platform/linux/LogindNames.h"

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

constexpr Logger logger("SessionEvents");

const auto freedesktopName = u"org.freedesktop.ScreenSaver"_s;
const auto gnomeName = u"org.gnome.ScreenSaver"_s;

}  // namespace

LinuxSession::LinuxSession(MainQueue& mainQueue, BusLink& systemBus, BusLink& sessionBus)
    : events_(mainQueue),
      logind_(mainQueue, systemBus, logind::service, logger),
      freedesktopScreenSaver_(mainQueue, sessionBus, freedesktopName, logger),
      gnomeScreenSaver_(mainQueue, sessionBus, gnomeName, logger),
      mutter_(mainQueue, sessionBus, u"org.gnome.Mutter.DisplayConfig"_s, logger),
      sleep_(mainQueue, logind_, events_.systemAsleep()),
      session_(logind_, events_.screenLocked()),
      freedesktopActivity_(freedesktopScreenSaver_, u"/org/freedesktop/ScreenSaver"_s, freedesktopName,
                           events_.screenLocked()),
      gnomeActivity_(gnomeScreenSaver_, u"/org/gnome/ScreenSaver"_s, gnomeName, events_.screenLocked()),
      mutterPower_(mutter_, events_.displayOff()),
      x11_(mainQueue, events_.displayOff()),
      waker_(sessionBus, x11_) {}

void LinuxSession::start() {
  // The X server that a Wayland session offers besides knows nothing of displays.
  if (const auto server = DisplayServer::ofEnvironment(); server.kind == DisplayServer::Kind::x11)
    x11_.start(server.x11Display);
}

}  // namespace zolvex
