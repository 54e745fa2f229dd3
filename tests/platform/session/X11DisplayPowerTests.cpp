#include "platform/session/FakeXServer.h"
#include "platform/session/X11World.h"
#include "platform/session/XvfbServer.h"

#include <csignal>
#include <unistd.h>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

struct XvfbTest : X11World {
  void SetUp() override {
    if (const auto reason = XvfbServer::reasonAgainst(); !reason.empty()) GTEST_SKIP() << reason;
    ASSERT_TRUE(server.start());
  }
  void connect() { connectTo(server.display()); }
  bool activate() { return server.set({u"s"_s, u"activate"_s}); }

  XvfbServer server;
};

TEST_F(XvfbTest, tellsWhenTheServerBlanksItsDisplayAndWhenItEndsThat) {
  connect();
  ASSERT_TRUE(activate());
  EXPECT_TRUE(recorder.become({SessionEvent::displayDidSleep}));
  ASSERT_TRUE(server.set({u"s"_s, u"reset"_s}));
  EXPECT_TRUE(recorder.become(offAndOn));
}

TEST_F(XvfbTest, aDisplayThatIsBlankAtTheStartIsNoEvent) {
  ASSERT_TRUE(activate());
  connect();
  ASSERT_TRUE(server.set({u"s"_s, u"reset"_s}));
  EXPECT_TRUE(recorder.become({SessionEvent::displayDidWake}));
}

TEST_F(XvfbTest, wakesTheDisplay) {
  connect();
  ASSERT_TRUE(activate());
  ASSERT_TRUE(recorder.become({SessionEvent::displayDidSleep}));
  power->wakeDisplay();
  EXPECT_TRUE(recorder.become(offAndOn));
}

TEST_F(XvfbTest, aServerThatEndsIsWaitedFor) {
  // A number that no server takes by itself in the meantime.
  const auto display = u":%1"_s.arg(10'000 + getpid() % 40'000);
  ASSERT_TRUE(server.start(display));
  connect();
  ASSERT_TRUE(activate());
  ASSERT_TRUE(recorder.become({SessionEvent::displayDidSleep}));
  server.stop();
  ASSERT_TRUE(logs("lost the X server " + server.display() + ", waiting for it"));
  power->wakeDisplay();
  EXPECT_FALSE(power->isFollowing());
  ASSERT_TRUE(server.start(display));
  queue.advance(X11DisplayPower::retryInterval);
  EXPECT_TRUE(logs("connected to the X server " + server.display(), 2));
  EXPECT_TRUE(recorder.become(offAndOn));
}

TEST_F(XvfbTest, aServerThatHangsAtTheStartIsLoggedOnceAndHoldsUpNobody) {
  const auto line = "the X server " + server.display() + " does not answer";
  log.expectError(line);
  const auto process = static_cast<pid_t>(server.processId());
  kill(process, SIGSTOP);
  power.emplace(queue, events.displayOff());
  power->start(server.display());
  power->wakeDisplay();
  EXPECT_FALSE(power->isFollowing());
  queue.advance(X11DisplayPower::answerLimit - Seconds(0.001));
  EXPECT_EQ(log.count(line), 0);
  queue.advance(Seconds(0.001));
  queue.advance(X11DisplayPower::answerLimit);
  EXPECT_EQ(log.count(line), 1);
  kill(process, SIGCONT);
  EXPECT_TRUE(runUntil([&] { return power->isFollowing(); }));
  EXPECT_TRUE(logs("the X server " + server.display() + " answers again"));
}

TEST_F(XvfbTest, aServerThatHangsLaterIsLoggedOnceAndHoldsUpNobody) {
  log.expectError("the X server " + server.display() + " does not answer");
  connect();
  ASSERT_TRUE(activate());
  ASSERT_TRUE(recorder.become({SessionEvent::displayDidSleep}));
  const auto process = static_cast<pid_t>(server.processId());
  kill(process, SIGSTOP);
  constexpr auto moreThanASocketHolds = 100'000;
  for (int i = 0; i < moreThanASocketHolds; ++i) power->wakeDisplay();
  queue.advance(X11DisplayPower::answerLimit);
  queue.advance(X11DisplayPower::answerLimit);
  kill(process, SIGCONT);
  EXPECT_TRUE(logs("the X server " + server.display() + " answers again"));
  EXPECT_EQ(log.count("the X server " + server.display() + " does not answer"), 1);
  EXPECT_TRUE(recorder.become(offAndOn));
}

TEST_F(XvfbTest, mayEndWhileItConnects) {
  for (int i = 0; i < 20; ++i) {
    power.emplace(queue, events.displayOff());
    power->start(server.display());
    power.reset();
  }
  runPending();
}

TEST_F(X11World, noServerIsLoggedOnceAndTriedAgain) {
  const std::string line = "no X server that tells of its displays yet at :9999, waiting for it";
  power.emplace(queue, events.displayOff());
  power->start(":9999");
  ASSERT_TRUE(logs(line));
  for (int attempts = 1; attempts < 4; ++attempts) {
    ASSERT_TRUE(runUntil([&] { return queue.workRun() == attempts; }));
    queue.advance(X11DisplayPower::retryInterval);
  }
  power->wakeDisplay();
  EXPECT_EQ(log.count(line), 1);
}

struct FakeXServerTest : X11World {
  [[nodiscard]] bool isAsked(int times, const FakeXServer& server) {
    return runUntil([&] { return server.questions() == times; });
  }
};

TEST_F(FakeXServerTest, everyPowerLevelButOnIsOffAndToldOnce) {
  FakeXServer server({});
  connectTo(server.display());
  for (const int level : {1, 2, 3, 0}) {
    const auto questions = server.questions();
    server.setPower(level);
    ASSERT_TRUE(isAsked(questions + 2, server));
  }
  EXPECT_TRUE(recorder.become(offAndOn));
}

TEST_F(FakeXServerTest, aProgramAsScreenSaverLeavesTheDisplayOn) {
  FakeXServer server({});
  connectTo(server.display());
  server.setScreenSaver(true, true);
  ASSERT_TRUE(isAsked(4, server));
  server.setScreenSaver(true, false);
  ASSERT_TRUE(isAsked(6, server));
  EXPECT_TRUE(recorder.become({SessionEvent::displayDidSleep}));
}

TEST_F(FakeXServerTest, powerDownUnderAProgramAsScreenSaverIsOff) {
  FakeXServer server({});
  connectTo(server.display());
  server.setScreenSaver(true, true);
  server.setPower(3);
  EXPECT_TRUE(recorder.become({SessionEvent::displayDidSleep}));
}

TEST_F(FakeXServerTest, aServerThatTellsOfChangesIsNotAskedWithoutOne) {
  FakeXServer server({});
  connectTo(server.display());
  queue.advance(X11DisplayPower::pollInterval * 10);
  server.setPower(3);
  ASSERT_TRUE(recorder.become({SessionEvent::displayDidSleep}));
  EXPECT_EQ(server.questions(), 4);
}

TEST_F(FakeXServerTest, aServerWithoutScreenSaverEventsIsAskedFromTimeToTime) {
  FakeXServer server({.screenSaver = false});
  connectTo(server.display());
  server.setPower(3);
  queue.advance(X11DisplayPower::pollInterval);
  ASSERT_TRUE(recorder.become({SessionEvent::displayDidSleep}));
  server.setPower(0);
  queue.advance(X11DisplayPower::pollInterval);
  ASSERT_TRUE(recorder.become(offAndOn));
  EXPECT_EQ(server.questions(), 3);
}

TEST_F(FakeXServerTest, aServerThatWasSilentAndIsAsItWasTellsNothingNew) {
  FakeXServer server({.screenSaver = false});
  log.expectError("the X server " + server.display() + " does not answer");
  connectTo(server.display());
  server.setPower(3);
  queue.advance(X11DisplayPower::pollInterval);
  ASSERT_TRUE(recorder.become({SessionEvent::displayDidSleep}));
  server.hang(true);
  queue.advance(X11DisplayPower::pollInterval + X11DisplayPower::answerLimit);
  EXPECT_FALSE(power->isFollowing());
  server.hang(false);
  ASSERT_TRUE(runUntil([&] { return power->isFollowing(); }));
  server.setPower(0);
  queue.advance(X11DisplayPower::pollInterval);
  EXPECT_TRUE(recorder.become(offAndOn));
}

TEST_F(FakeXServerTest, aServerWithoutPowerControlTellsByItsScreenSaver) {
  FakeXServer server({.dpms = false});
  connectTo(server.display());
  server.setScreenSaver(true, false);
  EXPECT_TRUE(recorder.become({SessionEvent::displayDidSleep}));
}

TEST_F(FakeXServerTest, aServerWithNeitherIsOfNoUse) {
  FakeXServer server({.screenSaver = false, .dpms = false});
  power.emplace(queue, events.displayOff());
  power->start(server.display());
  EXPECT_TRUE(logs("no X server that tells of its displays yet at " + server.display() + ", waiting for it"));
}

TEST_F(FakeXServerTest, wakingIsNotLostWhileAnAnswerIsUnderWay) {
  FakeXServer server({});
  connectTo(server.display());
  power->wakeDisplay();
  power->wakeDisplay();
  power->wakeDisplay();
  EXPECT_TRUE(runUntil([&] { return server.orders().size() == 4; }));
  ASSERT_TRUE(isAsked(6, server));
  EXPECT_EQ(server.orders().size(), 4u);
}

TEST_F(FakeXServerTest, wakingEndsTheScreenSaverAndSwitchesOn) {
  FakeXServer server({});
  connectTo(server.display());
  server.setPower(3);
  ASSERT_TRUE(recorder.become({SessionEvent::displayDidSleep}));
  power->wakeDisplay();
  EXPECT_TRUE(recorder.become(offAndOn));
  EXPECT_EQ(server.orders(), (std::vector<std::string>{"end screen saver", "power level 0"}));
}

}  // namespace
}  // namespace zolvex::test
