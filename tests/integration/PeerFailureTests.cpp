#include "integration/TwoComputers.h"

#include <QElapsedTimer>

#include <csignal>

namespace zolvex::lab {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

const auto keyboardName = u"Magic Keyboard"_s;
constexpr auto nothingCame = "Turn the device off and on, then try again.";

/// With one device only: a computer looks 6 s for each device that it cannot find.
class LostPeer : public TwoComputers {
 protected:
  LostPeer() : TwoComputers({keyboardName}) {}
};

TEST_F(LostPeer, peerKilledBeforeTheRequestMakesItAQuickConnect) {
  laptop().zolvex()->kill();
  studio().control().connectToThisMac(true);
  EXPECT_TRUE(waitForLog(studio(), u"Connect: peer did not release"_s));
  EXPECT_TRUE(waitForResult(studio(), nothingCame, thorough));
  EXPECT_TRUE(comesToRest());
  EXPECT_TRUE(waitForState(studio(), "failed"));
  EXPECT_EQ(devicesOf(laptop()), 1);
  EXPECT_TRUE(nextSwitchWorks(studio()));
}

TEST_F(LostPeer, peerThatNeverAnswersIsGivenUpAfterTenSeconds) {
  ::kill(static_cast<pid_t>(laptop().zolvex()->processId()), SIGSTOP);
  QElapsedTimer clock;
  clock.start();
  studio().control().connectToThisMac(true);
  EXPECT_TRUE(waitForLog(studio(), u"Command PLEASE_RELEASE timed out"_s, 15s));
  EXPECT_GE(clock.elapsed(), 9'900);
  EXPECT_LE(clock.elapsed(), 11'500);
  EXPECT_TRUE(waitForResult(studio(), nothingCame, thorough));
  // The peer wakes up and still does what it was asked for.
  ::kill(static_cast<pid_t>(laptop().zolvex()->processId()), SIGCONT);
  EXPECT_TRUE(waitUntil([&] { return devicesOf(laptop()) == 0; }, thorough));
  EXPECT_TRUE(comesToRest());
  EXPECT_TRUE(nextSwitchWorks(studio()));
}

using KilledPeer = TwoComputers;

TEST_F(KilledPeer, killedWhileReleasing) {
  // The first device is free, the second one is being removed.
  when([&] { return devicesOf(laptop()) < deviceCount(); }, [&] { laptop().zolvex()->kill(); });
  studio().control().connectToThisMac(true);
  EXPECT_TRUE(waitForLog(studio(), u"Connect: peer did not release"_s));
  EXPECT_TRUE(waitUntil([&] { return devicesOf(studio()) > 0; }, thorough));
  EXPECT_TRUE(comesToRest());
  EXPECT_EQ(devicesOf(studio()) + devicesOf(laptop()), deviceCount());
  EXPECT_TRUE(nextSwitchWorks(studio()));
}

TEST_F(KilledPeer, killedAfterItsAnswer) {
  when([&] { return logged(studio(), u"Connect: peer released, proceeding"_s) > 0; },
       [&] { laptop().zolvex()->kill(); });
  studio().control().connectToThisMac(true);
  EXPECT_TRUE(waitUntil([&] { return devicesOf(studio()) == deviceCount(); }, thorough));
  EXPECT_TRUE(comesToRest());
  EXPECT_FALSE(laptop().zolvex()->isRunning());
  EXPECT_TRUE(nextSwitchWorks(laptop()));
}

TEST_F(KilledPeer, killedBeforeItIsToldOfTheEnd) {
  when([&] { return devicesOf(studio()) > 0; }, [&] { laptop().zolvex()->kill(); });
  studio().control().connectToThisMac(true);
  EXPECT_TRUE(waitUntil([&] { return devicesOf(studio()) == deviceCount(); }, thorough));
  EXPECT_TRUE(comesToRest());
  EXPECT_FALSE(laptop().zolvex()->isRunning());
  EXPECT_TRUE(nextSwitchWorks(laptop()));
}

TEST_F(KilledPeer, askerKilledWhileThePeerReleases) {
  when([&] { return devicesOf(laptop()) < deviceCount(); }, [&] { studio().zolvex()->kill(); });
  studio().control().connectToThisMac(true);
  EXPECT_TRUE(waitForState(laptop(), "released", thorough));
  EXPECT_TRUE(comesToRest());
  EXPECT_EQ(devicesOf(laptop()) + devicesOf(studio()), 0);
  EXPECT_TRUE(nextSwitchWorks(laptop()));
}

TEST_F(KilledPeer, askerKilledWhileItConnects) {
  when([&] { return devicesOf(studio()) > 0; }, [&] { studio().zolvex()->kill(); });
  studio().control().connectToThisMac(true);
  EXPECT_TRUE(waitUntil([&] { return !studio().zolvex()->isRunning(); }, thorough));
  EXPECT_TRUE(comesToRest());
  EXPECT_TRUE(nextSwitchWorks(studio()));
}

}  // namespace
}  // namespace zolvex::lab
