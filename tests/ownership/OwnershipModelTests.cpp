#include "core/SettingsKeys.h"
#include "support/World.h"

#include <gtest/gtest.h>

namespace zolvex::test {
namespace {

using namespace std::chrono_literals;
using enum DeviceOwnershipState;

TEST(OwnershipModel, startsUnknownAndIdle) {
  World world;
  EXPECT_EQ(world.manager().ownershipState(), unknown);
  EXPECT_FALSE(world.manager().isSwitching());
  EXPECT_EQ(world.manager().lastResult(), "");
  EXPECT_EQ(world.manager().currentOperation(), std::nullopt);
  EXPECT_EQ(world.manager().switchToken(), 0);
  EXPECT_TRUE(world.log.contains("Device manager started"));
}

TEST(OwnershipModel, everyFlowHasATokenOfItsOwn) {
  World world;
  world.manager().forceConnect(false);
  EXPECT_EQ(world.manager().switchToken(), 1);
  world.manager().cancelCurrentOperation();
  EXPECT_EQ(world.manager().switchToken(), 2);
  world.manager().releaseDevices();
  EXPECT_EQ(world.manager().switchToken(), 3);
}

TEST(OwnershipModel, theStepsOfACancelledFlowChangeNothingInTheNextOne) {
  World world;
  world.setWorkers("connect", {.duration = 2s});
  world.manager().forceConnect(false);
  world.manager().cancelCurrentOperation();
  world.setWorkers("connect", {.exitStatus = 1, .duration = 5s});
  world.manager().releaseDevices();
  world.advance(2s);  // the first connect of the cancelled flow has succeeded by now
  EXPECT_EQ(world.manager().ownershipState(), releasing);
  EXPECT_TRUE(world.manager().isSwitching());
}

// Reconciling

TEST(OwnershipModel, refreshingWhileIdleShowsTheLiveState) {
  World world;
  world.manager().refreshFromLiveState();
  EXPECT_EQ(world.manager().ownershipState(), released);
  EXPECT_EQ(world.manager().lastResult(), "Not connected");
  world.haveConnected(1);
  world.manager().refreshFromLiveState();
  EXPECT_EQ(world.manager().ownershipState(), partiallyThisMac);
  EXPECT_EQ(world.manager().lastResult(), "Partially connected");
  world.haveConnected(2);
  world.manager().refreshFromLiveState();
  EXPECT_EQ(world.manager().ownershipState(), thisMac);
  EXPECT_EQ(world.manager().lastResult(), "Already connected");
}

TEST(OwnershipModel, refreshingPublishesAllThreePropertiesEvenUnchanged) {
  World world;
  world.manager().refreshFromLiveState();
  int published = 0;
  const auto a = world.manager().observeIsSwitching([&](bool) { ++published; });
  const auto b = world.manager().observeOwnershipState([&](auto) { ++published; });
  const auto c = world.manager().observeLastResult([&](const auto&) { ++published; });
  world.manager().refreshFromLiveState();
  EXPECT_EQ(published, 3);
}

TEST(OwnershipModel, refreshingDuringAConnectFlowWaitsForTheFirstDevice) {
  World world({"Magic Keyboard", "Magic Trackpad"}, false);
  world.setWorkers("connect", {.duration = 100ms});
  world.workers.set("connect", "A2", {.duration = 5s});
  world.manager().forceConnect(false);
  world.manager().refreshFromLiveState();
  EXPECT_TRUE(world.manager().isSwitching());
  world.advance(200ms);
  world.manager().refreshFromLiveState();
  EXPECT_FALSE(world.manager().isSwitching());
  EXPECT_EQ(world.manager().ownershipState(), partiallyThisMac);
  EXPECT_TRUE(world.log.contains("Connect: reconciled from live Bluetooth state"));
  world.advance(10s);  // what the retired flow still does shows only in the devices
  EXPECT_EQ(world.manager().ownershipState(), partiallyThisMac);
  EXPECT_TRUE(world.notifications.empty());
}

// Cancelling

TEST(OwnershipModel, cancellingWhileIdleDoesNothing) {
  World world;
  world.manager().cancelCurrentOperation();
  EXPECT_TRUE(world.statusTexts.empty());
  EXPECT_EQ(world.manager().switchToken(), 0);
}

TEST(OwnershipModel, cancellingShowsTheLiveSummary) {
  for (const auto& [connected, state] :
       std::vector<std::pair<std::size_t, DeviceOwnershipState>>{{0, released}, {1, partiallyThisMac}, {2, thisMac}}) {
    World world;
    world.manager().releaseDevices();
    world.haveConnected(connected);
    world.manager().cancelCurrentOperation();
    EXPECT_EQ(world.manager().ownershipState(), state);
    EXPECT_EQ(world.manager().lastResult(), "Cancelled");
    EXPECT_FALSE(world.manager().isSwitching());
    EXPECT_EQ(world.manager().currentOperation(), std::nullopt);
  }
}

// The hot key

TEST(HotKey, withoutManagedDevicesItOnlySaysSo) {
  World world(noDevices);
  world.manager().handleHotKey();
  EXPECT_EQ(world.manager().ownershipState(), unknown);
  EXPECT_EQ(world.manager().lastResult(), "No devices configured");
  EXPECT_TRUE(world.peer.sent.empty());
}

TEST(HotKey, takesTheDevices) {
  World world;
  world.manager().handleHotKey();
  EXPECT_EQ(world.states, (std::vector{released, switchingToThisMac}));
  EXPECT_EQ(world.statusTexts, (std::vector<std::string>{"Connecting...", "Asking peer to release..."}));
}

TEST(HotKey, connectsTheMissingOnes) {
  World world;
  world.haveConnected(1);
  world.manager().handleHotKey();
  EXPECT_EQ(world.states, (std::vector{partiallyThisMac, switchingToThisMac}));
  EXPECT_EQ(world.statusTexts.front(), "Connecting missing devices...");
}

TEST(HotKey, neverReleases) {
  World world;
  world.haveConnected(2);
  world.manager().handleHotKey();
  EXPECT_EQ(world.manager().ownershipState(), thisMac);
  EXPECT_EQ(world.manager().lastResult(), "Already connected");
  EXPECT_TRUE(world.workers.runs.empty());
}

TEST(HotKey, duringAFlowItOnlyRefreshes) {
  World world;
  world.manager().handleHotKey();
  const auto token = world.manager().switchToken();
  world.manager().handleHotKey();
  EXPECT_EQ(world.manager().switchToken(), token);
  EXPECT_TRUE(world.manager().isSwitching());
}

// After the list was changed

TEST(DevicesConfigured, withAnEmptyListSaysSo) {
  World world;
  world.defaults.remove(settings::managedDeviceAddresses);
  world.store().reload();
  world.manager().devicesConfigured();
  EXPECT_EQ(world.manager().ownershipState(), unknown);
  EXPECT_EQ(world.manager().lastResult(), "No devices configured");
}

TEST(DevicesConfigured, showsTheLiveState) {
  World world;
  world.manager().devicesConfigured();
  EXPECT_EQ(world.manager().ownershipState(), released);
  EXPECT_EQ(world.manager().lastResult(), "Not connected");
}

}  // namespace
}  // namespace zolvex::test
