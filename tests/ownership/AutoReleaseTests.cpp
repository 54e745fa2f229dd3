#include "core/SettingsKeys.h"
#include "support/World.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace zolvex::test {
namespace {

using namespace std::chrono_literals;
using enum DeviceOwnershipState;
using Texts = std::vector<std::string>;
using Commands = std::vector<DeviceCommand>;

/// A computer that has both devices and gives them up when its user leaves.
class AutoRelease : public testing::Test {
 protected:
  AutoRelease() {
    world.advance(2s);
    world.enableAutoConnect();
    releaseAfter(-1.0);
    world.haveConnected(2);
  }

  void releaseAfter(double hours) {
    world.defaults.set(settings::autoRelease, true);
    world.defaults.set(settings::autoReleaseHours, hours);
  }

  void happens(SessionEvent event) { world.session.happens(event); }
  bool logged(const std::string& line) const { return world.log.contains(line); }
  bool wasTold(DeviceCommand command) const {
    return std::find(world.peer.sent.begin(), world.peer.sent.end(), command) != world.peer.sent.end();
  }

  World world;
};

// Sleep

TEST_F(AutoRelease, sleepReleasesAtOnceAndTellsThePeer) {
  world.setWorkers("unregister", {.duration = 100ms});
  happens(SessionEvent::systemWillSleep);
  EXPECT_EQ(world.manager().currentOperation(), SwitchOperation::releasing);
  world.advance(200ms);
  EXPECT_EQ(world.statusTexts, (Texts{"System sleep: releasing...", "System sleep: released"}));
  EXPECT_EQ(world.states, (std::vector{releasing, released}));
  EXPECT_EQ(world.workers.runs, (Texts{"unregister A1", "unregister A2"}));
  EXPECT_TRUE(logged("System sleep: releasing devices so the other Mac can take over"));
  EXPECT_TRUE(wasTold(DeviceCommand::released));
  EXPECT_FALSE(world.manager().isSwitching());
}

TEST_F(AutoRelease, sleepNeedsNoAutoReleaseSetting) {
  world.defaults.set(settings::autoRelease, false);
  happens(SessionEvent::systemWillSleep);
  world.advance(1s);
  EXPECT_EQ(world.manager().lastResult(), "System sleep: released");
}

TEST_F(AutoRelease, sleepWithAutomaticConnectOffDoesNothing) {
  world.defaults.set(settings::autoConnect, false);
  const auto lines = world.log.lines().size();
  happens(SessionEvent::systemWillSleep);
  world.advance(1s);
  EXPECT_TRUE(world.states.empty());
  EXPECT_EQ(world.log.lines().size(), lines);
}

TEST_F(AutoRelease, aFailedRemovalFailsItAndThePeerIsNotTold) {
  world.log.expectError("unregister: failed Magic Keyboard");
  world.workers.set("unregister", "A1", {.exitStatus = 70});
  happens(SessionEvent::systemWillSleep);
  world.advance(1s);
  EXPECT_EQ(world.manager().lastResult(), "System sleep: release failed");
  EXPECT_EQ(world.manager().ownershipState(), failed);
  EXPECT_EQ(world.workers.runs.size(), 2u);
  EXPECT_FALSE(wasTold(DeviceCommand::released));
}

TEST(AutoReleaseWithoutDevices, doesNothing) {
  World world(noDevices);
  world.enableAutoConnect();
  world.session.happens(SessionEvent::systemWillSleep);
  world.advance(1s);
  EXPECT_TRUE(world.states.empty());
  EXPECT_TRUE(world.peer.sent.empty());
}

TEST_F(AutoRelease, sleepDuringAConnectReleases) {
  world.store().markDisconnected("A1");
  world.store().markDisconnected("A2");
  world.setWorkers("connect", {.duration = 300ms});
  world.manager().forceConnect(false);
  world.advance(100ms);
  happens(SessionEvent::systemWillSleep);
  world.advance(5s);
  EXPECT_EQ(world.statusTexts, (Texts{"Quick connecting...", "System sleep: releasing...", "System sleep: released"}));
  EXPECT_TRUE(world.notifications.empty());
}

TEST_F(AutoRelease, aReleaseThatSleepInterruptedEndsAfterTheWake) {
  world.setWorkers("unregister", {.duration = 5s});
  happens(SessionEvent::systemWillSleep);
  world.advance(3s);
  happens(SessionEvent::systemDidWake);
  world.advance(1s);
  EXPECT_TRUE(logged("System wake: auto-connect skipped because switching is already in progress"));
  world.advance(10s);
  EXPECT_EQ(world.manager().lastResult(), "System sleep: released");
}

TEST_F(AutoRelease, thePeerIsRefusedMeanwhile) {
  world.setWorkers("unregister", {.duration = 1s});
  happens(SessionEvent::systemWillSleep);
  EXPECT_EQ(world.peer.receive("PLEASE_RELEASE")->replies, Commands{DeviceCommand::operationFailed});
}

// Lock and display sleep

TEST_F(AutoRelease, aLockReleasesAfterTwentySeconds) {
  happens(SessionEvent::screenLocked);
  world.advance(20s - 1ms);
  EXPECT_TRUE(world.states.empty());
  world.advance(1s);
  EXPECT_EQ(world.statusTexts, (Texts{"Screen lock: releasing...", "Screen lock: released"}));
}

TEST_F(AutoRelease, displaySleepReleasesAfterTwentySeconds) {
  happens(SessionEvent::displayDidSleep);
  world.advance(21s);
  EXPECT_EQ(world.statusTexts, (Texts{"Screen sleep: releasing...", "Screen sleep: released"}));
}

TEST_F(AutoRelease, theLaterOfLockAndDisplaySleepCounts) {
  happens(SessionEvent::screenLocked);
  world.advance(10s);
  happens(SessionEvent::displayDidSleep);
  world.advance(15s);
  EXPECT_TRUE(world.states.empty());
  world.advance(6s);
  EXPECT_EQ(world.statusTexts, (Texts{"Screen sleep: releasing...", "Screen sleep: released"}));
}

TEST_F(AutoRelease, aBriefAbsenceKeepsTheDevices) {
  for (const auto returns : {SessionEvent::screenUnlocked, SessionEvent::displayDidWake, SessionEvent::systemDidWake}) {
    happens(SessionEvent::screenLocked);
    world.advance(20s - 1ms);
    happens(returns);
    world.advance(30s);
  }
  EXPECT_TRUE(world.workers.runs.empty());
  EXPECT_EQ(world.manager().ownershipState(), thisMac);
}

TEST_F(AutoRelease, theHotKeyKeepsTheDevices) {
  happens(SessionEvent::screenLocked);
  world.manager().handleHotKey();
  world.advance(30s);
  EXPECT_TRUE(world.workers.runs.empty());
}

TEST_F(AutoRelease, aLockIsIgnoredWhereTheSettingsSayOtherwise) {
  for (const double hours : {1.0, 0.0, -2.0, -0.999}) {
    releaseAfter(hours);
    happens(SessionEvent::screenLocked);
    happens(SessionEvent::displayDidSleep);
  }
  releaseAfter(-1.0);
  world.defaults.set(settings::autoRelease, false);
  happens(SessionEvent::screenLocked);
  world.advance(30s);
  EXPECT_EQ(world.log.count("Screen lock: inactive release skipped by auto-release settings"), 5);
  EXPECT_EQ(world.log.count("Screen sleep: inactive release skipped by auto-release settings"), 4);
  EXPECT_TRUE(world.states.empty());
}

TEST_F(AutoRelease, theSettingsAreReadAgainWhenItIsTime) {
  happens(SessionEvent::screenLocked);
  world.advance(10s);
  world.defaults.set(settings::autoRelease, false);
  world.advance(11s);
  EXPECT_TRUE(logged("Screen lock: release skipped by auto-release settings"));
  EXPECT_TRUE(world.states.empty());
}

TEST_F(AutoRelease, aLockWithAutomaticConnectOffDoesNothing) {
  world.defaults.set(settings::autoConnect, false);
  happens(SessionEvent::screenLocked);
  world.advance(30s);
  EXPECT_TRUE(world.states.empty());
}

TEST_F(AutoRelease, sleepReplacesAPendingRelease) {
  happens(SessionEvent::screenLocked);
  world.advance(5s);
  happens(SessionEvent::systemWillSleep);
  world.advance(60s);
  EXPECT_EQ(world.statusTexts, (Texts{"System sleep: releasing...", "System sleep: released"}));
}

TEST_F(AutoRelease, theEndOfTheManagerWhileItIsPendingIsHarmless) {
  happens(SessionEvent::screenLocked);
  world.destroyManager();
  happens(SessionEvent::systemWillSleep);
  world.advance(60s);
  EXPECT_TRUE(world.workers.runs.empty());
}

// After some hours

TEST_F(AutoRelease, halfAnHourIsEighteenHundredSeconds) {
  releaseAfter(0.5);
  world.manager().refreshFromLiveState();
  EXPECT_TRUE(logged("Auto-release timer started: 0.500000h (1800.000000s)"));
  world.advance(1800s - 1ms);
  EXPECT_EQ(world.manager().ownershipState(), thisMac);
  world.advance(1s);
  EXPECT_TRUE(logged("Auto-release timer fired"));
  EXPECT_EQ(world.statusTexts, (Texts{"Already connected", "Releasing...", "Released. Pair on other Mac"}));
}

TEST_F(AutoRelease, theTimerWorksWithAutomaticConnectOff) {
  world.defaults.set(settings::autoConnect, false);
  releaseAfter(1.0);
  world.manager().refreshFromLiveState();
  world.advance(3601s);
  EXPECT_EQ(world.manager().lastResult(), "Released. Pair on other Mac");
}

TEST_F(AutoRelease, noTimerRunsWhenItIsForInactivityOffOrNonsense) {
  const auto lines = world.log.lines().size();
  world.manager().refreshFromLiveState();
  EXPECT_TRUE(logged("Auto-release: using lock and display inactivity"));
  EXPECT_EQ(world.log.lines().size(), lines + 1);
  for (const double hours : {0.0, -0.5, -3.0}) {
    releaseAfter(hours);
    world.manager().refreshFromLiveState();
  }
  releaseAfter(1.0);
  world.defaults.set(settings::autoRelease, false);
  world.manager().refreshFromLiveState();
  EXPECT_EQ(world.log.lines().size(), lines + 1);
  world.advance(10h);
  EXPECT_EQ(world.manager().ownershipState(), thisMac);
}

TEST_F(AutoRelease, eachStartReplacesTheTimer) {
  releaseAfter(1.0);
  world.manager().refreshFromLiveState();
  world.advance(1800s);
  world.manager().refreshFromLiveState();
  world.advance(3599s);
  EXPECT_EQ(world.manager().ownershipState(), thisMac);
  world.advance(2s);
  EXPECT_EQ(world.log.count("Auto-release timer fired"), 1);
}

TEST_F(AutoRelease, aSuccessfulConnectStartsTheTimer) {
  releaseAfter(1.0);
  world.store().markDisconnected("A1");
  world.manager().forceConnect(true);
  EXPECT_EQ(world.manager().lastResult(), "Partially connected");
  EXPECT_EQ(world.log.count("Auto-release timer started: 1.000000h (3600.000000s)"), 1);
}

TEST_F(AutoRelease, nothingConnectedStartsNoTimer) {
  releaseAfter(1.0);
  world.store().markDisconnected("A1");
  world.store().markDisconnected("A2");
  world.manager().refreshFromLiveState();
  EXPECT_FALSE(logged("Auto-release timer started: 1.000000h (3600.000000s)"));
}

TEST_F(AutoRelease, everyReleaseStopsTheTimer) {
  releaseAfter(1.0);
  const std::vector<std::function<void()>> releases = {
      [this] { world.manager().releaseDevices(); },
      [this] { world.peer.receive("PLEASE_RELEASE"); },
      [this] { happens(SessionEvent::systemWillSleep); },
  };
  for (const auto& release : releases) {
    world.haveConnected(2);
    world.manager().refreshFromLiveState();
    release();
    world.advance(2h);
  }
  EXPECT_FALSE(logged("Auto-release timer fired"));
}

TEST_F(AutoRelease, duringAFlowTheTimerDoesNothing) {
  releaseAfter(1.0);
  world.manager().refreshFromLiveState();
  world.advance(3599s);
  world.store().markDisconnected("A1");
  world.store().markDisconnected("A2");
  world.setWorkers("connect", {.duration = 3s});
  world.manager().forceConnect(false);
  world.advance(2s);
  EXPECT_TRUE(logged("Auto-release timer fired"));
  EXPECT_EQ(world.manager().currentOperation(), SwitchOperation::connecting);
}

}  // namespace
}  // namespace zolvex::test
