#include "platform/linux/BusService.h"
#include "platform/linux/LogindNames.h"
#include "platform/linux/LogindSession.h"
#include "platform/session/ScriptedLogind.h"
#include "platform/session/SessionWorld.h"

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

const auto desk = u"/org/freedesktop/login1/session/_31"_s;
const auto other = u"/org/freedesktop/login1/session/_32"_s;

struct LogindSessionTest : SessionWorld {
  LogindSessionTest() { qunsetenv("XDG_SESSION_ID"); }
  ~LogindSessionTest() override {
    sessionId.isNull() ? qunsetenv("XDG_SESSION_ID") : qputenv("XDG_SESSION_ID", sessionId);
  }

  /// With logind, and when there is a session, until its hint was asked for.
  void start() {
    logind.start();
    connectLink();
    ASSERT_TRUE(runUntil([&] { return logind.calls(u"Get"_s).size() == 1; }));
    settle();
  }

  const QByteArray sessionId = qgetenv("XDG_SESSION_ID");
  ScriptedLogind logind{bus.address()};
  BusService service{queue, link, logind::service, Logger("SessionEvents")};
  LogindSession session{service, events.screenLocked()};
};

TEST_F(LogindSessionTest, tellsWhatTheLockedHintTells) {
  logind.sessions = {{u"auto"_s, desk}};
  start();
  logind.setLocked(desk, true);
  EXPECT_TRUE(recorder.become({SessionEvent::screenLocked}));
  logind.setLocked(desk, false);
  EXPECT_TRUE(recorder.become({SessionEvent::screenLocked, SessionEvent::screenUnlocked}));
}

TEST_F(LogindSessionTest, aRequestToLockAndTheHintThatFollowsAreOneEvent) {
  logind.sessions = {{u"auto"_s, desk}};
  start();
  logind.askToLock(desk, true);
  logind.setLocked(desk, true);
  logind.askToLock(desk, false);
  logind.setLocked(desk, false);
  EXPECT_TRUE(recorder.become({SessionEvent::screenLocked, SessionEvent::screenUnlocked}));
}

TEST_F(LogindSessionTest, aScreenThatIsLockedAtTheStartIsNoEvent) {
  logind.sessions = {{u"auto"_s, desk}};
  logind.isLocked = true;
  start();
  EXPECT_EQ(recorder.events(), Events{});
  logind.setLocked(desk, false);
  EXPECT_TRUE(recorder.become({SessionEvent::screenUnlocked}));
}

TEST_F(LogindSessionTest, otherSessionsDoNotMatter) {
  logind.sessions = {{u"auto"_s, desk}};
  start();
  logind.askToLock(other, true);
  logind.setLocked(other, true);
  logind.sessionEnds(u"2"_s, other);
  logind.setLocked(desk, true);
  EXPECT_TRUE(recorder.become({SessionEvent::screenLocked}));
  EXPECT_EQ(logind.calls(u"GetSession"_s).size(), 1u);
}

TEST_F(LogindSessionTest, takesTheSessionThatTheEnvironmentNames) {
  qputenv("XDG_SESSION_ID", "2");
  logind.sessions = {{u"auto"_s, desk}, {u"2"_s, other}};
  start();
  logind.setLocked(other, true);
  EXPECT_TRUE(recorder.become({SessionEvent::screenLocked}));
}

TEST_F(LogindSessionTest, aNamedSessionThatIsGoneIsReplacedByTheOneOfTheDisplay) {
  qputenv("XDG_SESSION_ID", "2");
  logind.sessions = {{u"auto"_s, desk}};
  start();
  logind.setLocked(desk, true);
  EXPECT_TRUE(recorder.become({SessionEvent::screenLocked}));
}

TEST_F(LogindSessionTest, waitsForASession) {
  logind.start();
  connectLink();
  ASSERT_TRUE(logs("no session of this user yet, waiting for one"));
  logind.sessions = {{u"auto"_s, desk}};
  logind.sessionBegins(u"1"_s, desk);
  ASSERT_TRUE(runUntil([&] { return logind.calls(u"Get"_s).size() == 1; }));
  settle();
  logind.setLocked(desk, true);
  EXPECT_TRUE(recorder.become({SessionEvent::screenLocked}));
}

TEST_F(LogindSessionTest, followsTheUserFromOneSessionToTheNext) {
  logind.sessions = {{u"auto"_s, desk}};
  start();
  logind.sessions = {};
  logind.sessionEnds(u"1"_s, desk);
  ASSERT_TRUE(logs("no session of this user yet, waiting for one"));
  logind.sessions = {{u"auto"_s, other}};
  logind.sessionBegins(u"2"_s, other);
  ASSERT_TRUE(runUntil([&] { return logind.calls(u"Get"_s).size() == 2; }));
  settle();
  logind.setLocked(desk, true);
  settle();
  EXPECT_EQ(recorder.events(), Events{});
  logind.setLocked(other, true);
  EXPECT_TRUE(recorder.become({SessionEvent::screenLocked}));
}

TEST_F(LogindSessionTest, aRestartOfLogindWhileLockedIsNoEvent) {
  logind.sessions = {{u"auto"_s, desk}};
  start();
  logind.setLocked(desk, true);
  ASSERT_TRUE(recorder.become({SessionEvent::screenLocked}));
  logind.stop();
  ASSERT_TRUE(logs("lost org.freedesktop.login1, waiting for it"));
  logind.start();
  ASSERT_TRUE(runUntil([&] { return logind.calls(u"Get"_s).size() == 1; }));
  settle();
  EXPECT_EQ(recorder.events(), Events{SessionEvent::screenLocked});
  logind.setLocked(desk, false);
  EXPECT_TRUE(recorder.become({SessionEvent::screenLocked, SessionEvent::screenUnlocked}));
}

}  // namespace
}  // namespace zolvex::test
