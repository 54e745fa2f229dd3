#include "platform/linux/LinuxDisplayWaker.h"

#include "platform/linux/BusLink.h"
#include "platform/linux/X11DisplayPower.h"

#include <QDBusMessage>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

void LinuxDisplayWaker::wakeDisplay() {
  x11_.wakeDisplay();
  if (!sessionBus_.isConnected()) return;
  auto call = QDBusMessage::createMethodCall(u"org.freedesktop.ScreenSaver"_s, u"/org/freedesktop/ScreenSaver"_s,
                                             u"org.freedesktop.ScreenSaver"_s, u"SimulateUserActivity"_s);
  call.setAutoStartService(false);
  sessionBus_.connection().send(call);  // asks for no reply
}

}  // namespace zolvex
