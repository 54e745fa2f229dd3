#include "platform/linux/BusService.h"
#include "platform/linux/LogindNames.h"
#include "platform/linux/LogindSleep.h"
#include "platform/session/ScriptedLogind.h"
#include "platform/session/SessionWorld.h"

#include <QProcess>

#include <optional>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

struct LogindSleepTest : SessionWorld {
  void start() {
    logind.start();
    connectLink();
    ASSERT_TRUE(runUntil([&] { return sleep->isHeld(); }));
  }
  [[nodiscard]] bool isReleased(std::size_t index) {
    return runUntil([&] { return !logind.isHeld(index); });
  }

  ScriptedLogind logind{bus.address()};
  BusService service{queue, link, logind::service, Logger("SessionEvents")};
  std::optional<LogindSleep> sleep{std::in_place, queue, service, events.systemAsleep()};
};

TEST_F(LogindSleepTest, holdsADelayInhibitorForSleepWhileAwake) {
  start();
  const auto calls = logind.calls(u"Inhibit"_s);
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].path(), u"/org/freedesktop/login1"_s);
  EXPECT_EQ(calls[0].interface(), u"org.freedesktop.login1.Manager"_s);
  EXPECT_EQ(calls[0].arguments().at(0).toString(), u"sleep"_s);
  EXPECT_EQ(calls[0].arguments().at(1).toString(), u"Zolvex"_s);
  EXPECT_FALSE(calls[0].arguments().at(2).toString().isEmpty());
  EXPECT_EQ(calls[0].arguments().at(3).toString(), u"delay"_s);
  EXPECT_TRUE(logind.isHeld(0));
  EXPECT_EQ(recorder.events(), Events{});
}

TEST_F(LogindSleepTest, tellsOfSleepAndWake) {
  start();
  logind.prepareForSleep(true);
  EXPECT_TRUE(recorder.become({SessionEvent::systemWillSleep}));
  logind.prepareForSleep(false);
  EXPECT_TRUE(recorder.become({SessionEvent::systemWillSleep, SessionEvent::systemDidWake}));
}

TEST_F(LogindSleepTest, sleepWaitsUntilItIsAllowedAndTheNextOneAgain) {
  start();
  logind.prepareForSleep(true);
  ASSERT_TRUE(recorder.become({SessionEvent::systemWillSleep}));
  settle();
  EXPECT_TRUE(logind.isHeld(0));
  sleep->allowSleep();
  EXPECT_TRUE(isReleased(0));
  EXPECT_EQ(logind.granted(), 1u);
  logind.prepareForSleep(false);
  ASSERT_TRUE(runUntil([&] { return sleep->isHeld(); }));
  EXPECT_TRUE(logind.isHeld(1));
}

TEST_F(LogindSleepTest, aReleaseThatEndsAfterTheWakeDoesNotLetGoOfTheNextInhibitor) {
  start();
  logind.prepareForSleep(true);
  logind.prepareForSleep(false);
  ASSERT_TRUE(runUntil([&] { return logind.granted() == 2 && !logind.isHeld(0); }));
  sleep->allowSleep();
  EXPECT_TRUE(sleep->isHeld());
  EXPECT_TRUE(logind.isHeld(1));
}

TEST_F(LogindSleepTest, allowingTwiceIsHarmless) {
  start();
  logind.prepareForSleep(true);
  ASSERT_TRUE(recorder.become({SessionEvent::systemWillSleep}));
  sleep->allowSleep();
  sleep->allowSleep();
  EXPECT_TRUE(isReleased(0));
}

TEST_F(LogindSleepTest, whatIsGrantedTooLateForASleepIsLetGoOf) {
  logind.keepsInhibitorsBack = true;
  logind.start();
  connectLink();
  ASSERT_TRUE(runUntil([&] { return logind.calls(u"Inhibit"_s).size() == 1; }));
  logind.prepareForSleep(true);
  ASSERT_TRUE(recorder.become({SessionEvent::systemWillSleep}));
  sleep->allowSleep();
  logind.answerInhibit();
  EXPECT_TRUE(isReleased(0));
  EXPECT_FALSE(sleep->isHeld());
}

TEST_F(LogindSleepTest, aLogindThatComesLaterIsAskedThen) {
  connectLink();
  ASSERT_TRUE(logs("no org.freedesktop.login1 yet, waiting for it"));
  logind.start();
  EXPECT_TRUE(runUntil([&] { return sleep->isHeld(); }));
}

TEST_F(LogindSleepTest, aRestartedLogindIsAskedAgainAndTheOldInhibitorGivenUpOnlyThen) {
  start();
  logind.stop();
  ASSERT_TRUE(logs("lost org.freedesktop.login1, waiting for it"));
  EXPECT_TRUE(logind.isHeld(0));
  logind.start();
  EXPECT_TRUE(isReleased(0));
  EXPECT_TRUE(logind.isHeld(1));
  EXPECT_EQ(recorder.events(), Events{});
}

TEST_F(LogindSleepTest, aWakeDuringAnAbsenceOfLogindIsToldWhenItIsBack) {
  start();
  logind.prepareForSleep(true);
  ASSERT_TRUE(recorder.become({SessionEvent::systemWillSleep}));
  sleep->allowSleep();
  logind.stop();
  logind.isPreparingForSleep = false;
  logind.start();
  EXPECT_TRUE(recorder.become({SessionEvent::systemWillSleep, SessionEvent::systemDidWake}));
  EXPECT_TRUE(runUntil([&] { return sleep->isHeld(); }));
}

TEST_F(LogindSleepTest, aRefusalIsLoggedOnceAndTheRequestRepeatedEveryMinute) {
  log.expectError("sleep will not wait for the release of the devices: no");
  logind.refusesInhibitors = true;
  logind.start();
  connectLink();
  ASSERT_TRUE(logs("sleep will not wait for the release of the devices: no"));
  queue.advance(LogindSleep::retryInterval);
  ASSERT_TRUE(runUntil([&] { return logind.calls(u"Inhibit"_s).size() == 2; }));
  settle();
  logind.refusesInhibitors = false;
  queue.advance(LogindSleep::retryInterval);
  EXPECT_TRUE(logs("sleep waits for the release of the devices again"));
  EXPECT_TRUE(sleep->isHeld());
  EXPECT_EQ(log.count("sleep will not wait for the release of the devices: no"), 1);
}

TEST_F(LogindSleepTest, childProcessesDoNotKeepTheInhibitor) {
  start();
  QProcess child;
  child.start(u"/bin/sleep"_s, {u"60"_s});
  ASSERT_TRUE(child.waitForStarted());
  logind.prepareForSleep(true);
  ASSERT_TRUE(recorder.become({SessionEvent::systemWillSleep}));
  sleep->allowSleep();
  EXPECT_TRUE(isReleased(0));
  child.kill();
  child.waitForFinished();
}

TEST_F(LogindSleepTest, theInhibitorEndsWithItsHolder) {
  start();
  sleep.reset();
  EXPECT_TRUE(isReleased(0));
}

TEST_F(LogindSleepTest, anAnswerAfterTheEndOfTheHolderIsDropped) {
  logind.keepsInhibitorsBack = true;
  logind.start();
  connectLink();
  ASSERT_TRUE(runUntil([&] { return logind.calls(u"Inhibit"_s).size() == 1; }));
  sleep.reset();
  logind.answerInhibit();
  EXPECT_TRUE(isReleased(0));
}

}  // namespace
}  // namespace zolvex::test
