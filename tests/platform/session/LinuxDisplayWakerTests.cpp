#include "platform/linux/LinuxDisplayWaker.h"
#include "platform/session/SessionWorld.h"
#include "platform/session/X11World.h"
#include "support/ScriptedService.h"

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

struct LinuxDisplayWakerTest : SessionWorld {
  X11DisplayPower x11{queue, events.displayOff()};
  LinuxDisplayWaker waker{link, x11};
};

TEST_F(LinuxDisplayWakerTest, tellsTheScreenSaverThatTheUserIsActiveAndWantsNoAnswer) {
  ScriptedService screenSaver(bus.address(), u"org.freedesktop.ScreenSaver"_s,
                              [](const QDBusMessage&) { return QDBusMessage(); });
  connectLink();
  waker.wakeDisplay();
  ASSERT_TRUE(runUntil([&] { return screenSaver.calls().size() == 1; }));
  const auto& call = screenSaver.calls()[0];
  EXPECT_EQ(call.path(), u"/org/freedesktop/ScreenSaver"_s);
  EXPECT_EQ(call.interface(), u"org.freedesktop.ScreenSaver"_s);
  EXPECT_EQ(call.member(), u"SimulateUserActivity"_s);
  EXPECT_FALSE(call.isReplyRequired());
}

TEST_F(LinuxDisplayWakerTest, withoutABusAnXServerOrAScreenSaverNothingHappens) {
  waker.wakeDisplay();
  connectLink();
  waker.wakeDisplay();
  settle();
  EXPECT_EQ(log.lines(), std::vector<std::string>{"connected to the test bus"});
}

}  // namespace
}  // namespace zolvex::test
