#include "ownership/SleepPreparation.h"
#include "support/World.h"

#include <gtest/gtest.h>

namespace zolvex::test {
namespace {

using namespace std::chrono_literals;

/// A computer that holds a delay on its sleep.
class Sleep : public testing::Test {
 protected:
  Sleep() {
    world.advance(2s);
    world.enableAutoConnect();
    world.haveConnected(2);
  }

  void isAnnounced() { world.session.happens(SessionEvent::systemWillSleep); }
  bool isAllowed() const { return world.session.sleepsAllowed > 0; }

  World world;
  SleepPreparation preparation{{world.time, world.manager(), world.network(), world.session, world.session}};
};

TEST_F(Sleep, isAllowedAtOnceWhenThereIsNothingToRelease) {
  world.defaults.set("autoConnect", false);
  isAnnounced();
  EXPECT_EQ(world.session.sleepsAllowed, 1);
}

TEST_F(Sleep, waitsForTheReleaseAndItsAnnouncement) {
  world.setWorkers("unregister", {.duration = 1s});
  world.peer.answerDelay = 500ms;
  isAnnounced();
  world.advance(2400ms);
  EXPECT_EQ(world.manager().lastResult(), "System sleep: released");
  EXPECT_FALSE(isAllowed());
  world.advance(200ms);
  EXPECT_EQ(world.session.sleepsAllowed, 1);
}

TEST_F(Sleep, waitsFourAndAHalfSecondsAtMost) {
  world.log.expectError("the computer goes to sleep before the devices are released");
  world.setWorkers("unregister", {.duration = 7s});
  isAnnounced();
  world.advance(4499ms);
  EXPECT_FALSE(isAllowed());
  world.advance(2ms);
  EXPECT_EQ(world.session.sleepsAllowed, 1);
  world.advance(30s);
  EXPECT_EQ(world.session.sleepsAllowed, 1);
}

TEST_F(Sleep, waitsNoLongerForAReleaseThatHasFailed) {
  world.log.expectError("unregister: failed");
  world.setWorkers("unregister", {.exitStatus = 70, .duration = 475ms});
  isAnnounced();
  world.advance(1001ms);
  EXPECT_EQ(world.manager().lastResult(), "System sleep: release failed");
  EXPECT_EQ(world.session.sleepsAllowed, 1);
}

TEST_F(Sleep, waitsForAReleaseThatRanAlready) {
  world.defaults.set("autoConnect", false);
  world.setWorkers("unregister", {.duration = 1s});
  world.manager().releaseDevices();
  isAnnounced();
  world.advance(1999ms);
  EXPECT_FALSE(isAllowed());
  world.advance(200ms);
  EXPECT_EQ(world.session.sleepsAllowed, 1);
}

TEST_F(Sleep, isNotHeldByAConnect) {
  world.defaults.set("autoConnect", false);
  for (const auto* address : {"A1", "A2"}) world.store().markDisconnected(address);
  world.setWorkers("connect", {.duration = 3s});
  world.manager().connectToThisMac(false);
  isAnnounced();
  EXPECT_EQ(world.session.sleepsAllowed, 1);
}

TEST_F(Sleep, isHeldByASilentPeerUntilTheNetworkMustHaveMissedItOnceTheDevicesAreReleased) {
  world.peer.answer.reset();
  isAnnounced();
  world.advance(3599ms);
  EXPECT_EQ(world.manager().lastResult(), "System sleep: released");
  EXPECT_FALSE(isAllowed());
  world.advance(2ms);
  EXPECT_EQ(world.session.sleepsAllowed, 1);
}

TEST_F(Sleep, waitsFourAndAHalfSecondsAtMostForAPeerToo) {
  world.setWorkers("unregister", {.duration = 2175ms});
  isAnnounced();
  world.advance(2s);
  world.peer.answer.reset();
  world.advance(2499ms);
  EXPECT_EQ(world.manager().lastResult(), "System sleep: released");
  EXPECT_FALSE(isAllowed());
  world.advance(2ms);
  EXPECT_EQ(world.session.sleepsAllowed, 1);
}

TEST_F(Sleep, isNotHeldByAHealthCheck) {
  world.log.expectError("Peer command already in flight; dropping RELEASED");
  world.peer.answer.reset();
  world.advance(1s);
  ASSERT_EQ(world.network().outboundCommand(), DeviceCommand::healthCheck);
  isAnnounced();
  world.advance(101ms);
  EXPECT_EQ(world.manager().lastResult(), "System sleep: released");
  EXPECT_EQ(world.session.sleepsAllowed, 1);
}

TEST_F(Sleep, aWakeEndsTheWaiting) {
  world.setWorkers("unregister", {.duration = 3s});
  isAnnounced();
  world.advance(1s);
  world.session.happens(SessionEvent::systemDidWake);
  world.advance(30s);
  EXPECT_FALSE(isAllowed());
}

TEST_F(Sleep, anotherAnnouncementStartsAnew) {
  world.log.expectError("the computer goes to sleep before the devices are released");
  world.setWorkers("unregister", {.duration = 7s});
  isAnnounced();
  world.advance(3s);
  isAnnounced();
  world.advance(4499ms);
  EXPECT_FALSE(isAllowed());
  world.advance(2ms);
  EXPECT_EQ(world.session.sleepsAllowed, 1);
}

TEST_F(Sleep, anotherAnnouncementWithNothingToReleaseEndsTheWaiting) {
  world.peer.answer.reset();
  isAnnounced();
  world.advance(500ms);
  world.defaults.set("autoConnect", false);
  isAnnounced();
  world.advance(30s);
  EXPECT_EQ(world.session.sleepsAllowed, 1);
}

}  // namespace
}  // namespace zolvex::test
