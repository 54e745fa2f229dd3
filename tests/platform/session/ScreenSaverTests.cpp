#include "platform/linux/BusService.h"
#include "platform/linux/ScreenSaverService.h"
#include "platform/session/SessionWorld.h"
#include "support/ScriptedService.h"

#include <optional>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

/// A screen saver service with knobs.
struct ScriptedScreenSaver {
  ScriptedScreenSaver(const QString& busAddress, QString name)
      : interface(std::move(name)), service(busAddress, interface, [this](const QDBusMessage& call) {
          return knows ? call.createReply(isActive) : call.createErrorReply(u"org.example.Error"_s, u"not supported"_s);
        }) {}

  void setActive(bool active, const QString& path) {
    isActive = active;
    auto signal = QDBusMessage::createSignal(path, interface, u"ActiveChanged"_s);
    service.connection().send(signal << active);
  }
  void setActive(bool active) { setActive(active, u"/ScreenSaver"_s); }

  const QString interface;
  bool isActive = false;
  bool knows = true;
  ScriptedService service;
};

struct ScreenSaverTest : SessionWorld {
  void waitUntilAsked(const ScriptedScreenSaver& screenSaver, std::size_t times = 1) {
    ASSERT_TRUE(runUntil([&] { return screenSaver.service.calls().size() == times; }));
  }

  const QString freedesktop = u"org.freedesktop.ScreenSaver"_s;
  const QString gnome = u"org.gnome.ScreenSaver"_s;
  BusService freedesktopService{queue, link, freedesktop, Logger("SessionEvents")};
  BusService gnomeService{queue, link, gnome, Logger("SessionEvents")};
  ScreenSaverService freedesktopAdapter{freedesktopService, u"/org/freedesktop/ScreenSaver"_s, freedesktop,
                                        events.screenLocked()};
  ScreenSaverService gnomeAdapter{gnomeService, u"/org/gnome/ScreenSaver"_s, gnome, events.screenLocked()};
};

TEST_F(ScreenSaverTest, asksAndThenListens) {
  ScriptedScreenSaver screenSaver(bus.address(), freedesktop);
  connectLink();
  waitUntilAsked(screenSaver);
  EXPECT_EQ(screenSaver.service.calls()[0].member(), u"GetActive"_s);
  EXPECT_EQ(screenSaver.service.calls()[0].path(), u"/org/freedesktop/ScreenSaver"_s);
  EXPECT_EQ(screenSaver.service.calls()[0].interface(), freedesktop);
  screenSaver.setActive(true);
  screenSaver.setActive(false);
  EXPECT_TRUE(recorder.become({SessionEvent::screenLocked, SessionEvent::screenUnlocked}));
}

TEST_F(ScreenSaverTest, aServiceWithTwoPathsTellsOfOneEvent) {
  ScriptedScreenSaver screenSaver(bus.address(), freedesktop);
  connectLink();
  waitUntilAsked(screenSaver);
  for (const bool active : {true, false}) {
    screenSaver.setActive(active, u"/ScreenSaver"_s);
    screenSaver.setActive(active, u"/org/freedesktop/ScreenSaver"_s);
  }
  screenSaver.setActive(true);
  EXPECT_TRUE(recorder.become({SessionEvent::screenLocked, SessionEvent::screenUnlocked, SessionEvent::screenLocked}));
}

TEST_F(ScreenSaverTest, twoServicesTellOfOneEvent) {
  ScriptedScreenSaver first(bus.address(), freedesktop);
  ScriptedScreenSaver second(bus.address(), gnome);
  connectLink();
  waitUntilAsked(first);
  waitUntilAsked(second);
  first.setActive(true);
  ASSERT_TRUE(recorder.become({SessionEvent::screenLocked}));
  second.setActive(true);
  second.setActive(false);
  settle();
  first.setActive(false);
  EXPECT_TRUE(recorder.become({SessionEvent::screenLocked, SessionEvent::screenUnlocked}));
}

TEST_F(ScreenSaverTest, oneThatIsActiveAtTheStartIsNoEvent) {
  ScriptedScreenSaver screenSaver(bus.address(), gnome);
  screenSaver.isActive = true;
  connectLink();
  waitUntilAsked(screenSaver);
  screenSaver.setActive(false);
  EXPECT_TRUE(recorder.become({SessionEvent::screenUnlocked}));
}

TEST_F(ScreenSaverTest, oneThatAppearsActiveIsAnEvent) {
  connectLink();
  ASSERT_TRUE(logs("no org.gnome.ScreenSaver yet, waiting for it"));
  ScriptedScreenSaver screenSaver(bus.address(), gnome);
  screenSaver.isActive = true;
  EXPECT_TRUE(recorder.become({SessionEvent::screenLocked}));
}

TEST_F(ScreenSaverTest, oneThatEndsWhileActiveUnlocksNothingUntilItIsBack) {
  std::optional<ScriptedScreenSaver> screenSaver(std::in_place, bus.address(), gnome);
  connectLink();
  waitUntilAsked(*screenSaver);
  screenSaver->setActive(true);
  ASSERT_TRUE(recorder.become({SessionEvent::screenLocked}));
  screenSaver.reset();
  ASSERT_TRUE(logs("lost org.gnome.ScreenSaver, waiting for it"));
  EXPECT_EQ(recorder.events().size(), 1u);
  screenSaver.emplace(bus.address(), gnome);
  EXPECT_TRUE(recorder.become({SessionEvent::screenLocked, SessionEvent::screenUnlocked}));
}

TEST_F(ScreenSaverTest, oneThatCannotBeAskedIsLoggedAndListenedTo) {
  ScriptedScreenSaver screenSaver(bus.address(), freedesktop);
  screenSaver.knows = false;
  connectLink();
  ASSERT_TRUE(logs("org.freedesktop.ScreenSaver does not say whether it is active: not supported"));
  screenSaver.setActive(true);
  EXPECT_TRUE(recorder.become({SessionEvent::screenLocked}));
}

TEST_F(ScreenSaverTest, oneThatCannotBeAskedIsLoggedOnceUntilItAnswers) {
  const std::string line = "org.gnome.ScreenSaver does not say whether it is active: not supported";
  std::optional<ScriptedScreenSaver> screenSaver;
  const auto startsAndIsAsked = [&](bool knows) {
    screenSaver.reset();
    screenSaver.emplace(bus.address(), gnome);
    screenSaver->knows = knows;
    waitUntilAsked(*screenSaver);
    settle();
  };
  connectLink();
  startsAndIsAsked(false);
  startsAndIsAsked(false);
  EXPECT_EQ(log.count(line), 1);
  startsAndIsAsked(true);
  startsAndIsAsked(false);
  EXPECT_EQ(log.count(line), 2);
}

TEST_F(ScreenSaverTest, aSignalWithoutItsArgumentIsIgnored) {
  ScriptedScreenSaver screenSaver(bus.address(), gnome);
  connectLink();
  waitUntilAsked(screenSaver);
  screenSaver.service.connection().send(QDBusMessage::createSignal(u"/"_s, gnome, u"ActiveChanged"_s));
  screenSaver.setActive(true);
  EXPECT_TRUE(recorder.become({SessionEvent::screenLocked}));
}

}  // namespace
}  // namespace zolvex::test
