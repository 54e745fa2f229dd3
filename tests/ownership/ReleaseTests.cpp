#include "support/World.h"

#include <gtest/gtest.h>

namespace zolvex::test {
namespace {

using namespace std::chrono_literals;
using enum DeviceOwnershipState;
using Texts = std::vector<std::string>;
using Commands = std::vector<DeviceCommand>;

TEST(Release, removesEveryPairingInListOrderAndTellsThePeer) {
  World world;
  world.haveConnected(2);
  world.setWorkers("unregister", {.duration = 1s});
  world.manager().releaseDevices();
  EXPECT_EQ(world.manager().ownershipState(), releasing);
  EXPECT_EQ(world.manager().currentOperation(), SwitchOperation::releasing);
  world.advance(1999ms);
  EXPECT_TRUE(world.manager().isSwitching());
  world.advance(1ms);
  EXPECT_EQ(world.statusTexts, (Texts{"Releasing...", "Released. Pair on other Mac"}));
  EXPECT_EQ(world.manager().ownershipState(), released);
  EXPECT_EQ(world.workers.runs, (Texts{"unregister A1", "unregister A2"}));
  EXPECT_EQ(world.peer.sent, Commands{DeviceCommand::released});
  EXPECT_FALSE(world.manager().isSwitching());
}

TEST(Release, logsItsSteps) {
  World world({"Magic Keyboard"});
  world.manager().releaseDevices();
  world.advance(1s);
  const auto lines = world.log.lines();
  EXPECT_EQ(Texts(lines.begin() + 2, lines.end()),
            (Texts{"Release: removing all devices", "unregister: released Magic Keyboard", "Release: done"}));
}

TEST(Release, withoutDevicesSucceedsAtOnce) {
  World world(noDevices);
  world.manager().releaseDevices();
  EXPECT_EQ(world.manager().lastResult(), "Released. Pair on other Mac");
  EXPECT_EQ(world.peer.sent, Commands{DeviceCommand::released});
}

TEST(Release, withoutAPeerTellsNobody) {
  World world({"Magic Keyboard"}, false);
  world.manager().releaseDevices();
  world.advance(1s);
  EXPECT_EQ(world.manager().ownershipState(), released);
  EXPECT_TRUE(world.peer.sent.empty());
}

TEST(Release, oneFailedRemovalFailsItButTheOthersAreStillTried) {
  World world;
  world.log.expectError("unregister: failed Magic Keyboard");
  world.log.expectError("Release: not all devices disconnected");
  world.workers.set("unregister", "A1", {.exitStatus = 70});
  world.manager().releaseDevices();
  world.advance(1s);
  EXPECT_EQ(world.workers.runs.size(), 2u);
  EXPECT_EQ(world.manager().ownershipState(), failed);
  EXPECT_EQ(world.manager().lastResult(), "Release may have failed");
  EXPECT_TRUE(world.peer.sent.empty());
}

TEST(Release, aHangingRemovalFailsAfterEightSeconds) {
  World world({"Magic Keyboard"});
  world.log.expectError("Bluetooth worker timed out during unregister");
  world.log.expectError("unregister: failed Magic Keyboard");
  world.log.expectError("Release: not all devices disconnected");
  world.workers.set("unregister", "A1", {.hangs = true});
  world.manager().releaseDevices();
  world.advance(7999ms);
  EXPECT_TRUE(world.manager().isSwitching());
  world.advance(1ms);
  EXPECT_EQ(world.manager().ownershipState(), failed);
}

TEST(Release, cancelledItStaysCancelled) {
  World world;
  world.setWorkers("unregister", {.duration = 1s});
  world.manager().releaseDevices();
  world.advance(500ms);
  world.manager().cancelCurrentOperation();
  world.advance(5s);
  EXPECT_EQ(world.manager().lastResult(), "Cancelled");
  EXPECT_EQ(world.peer.sent, Commands{DeviceCommand::healthCheck});
}

TEST(Release, theEndOfTheManagerInTheMiddleIsHarmless) {
  World world;
  world.setWorkers("unregister", {.duration = 1s});
  world.manager().releaseDevices();
  world.advance(500ms);
  world.destroyManager();
  world.advance(2s);
  EXPECT_EQ(world.workers.runs.size(), 2u);
}

// The peer asks

TEST(PleaseRelease, isAnsweredWhenEveryPairingIsGoneAndThenAnnounced) {
  World world;
  world.setWorkers("unregister", {.duration = 1s});
  const auto channel = world.peer.receive("PLEASE_RELEASE");
  EXPECT_EQ(world.manager().lastResult(), "Releasing...");
  world.advance(1999ms);
  EXPECT_TRUE(channel->replies.empty());
  world.advance(1ms);
  EXPECT_EQ(channel->replies, Commands{DeviceCommand::operationSuccess});
  EXPECT_EQ(world.manager().lastResult(), "Released. Pair on other Mac");
  EXPECT_EQ(world.peer.sent, Commands{DeviceCommand::released});
  EXPECT_TRUE(world.log.contains("Received PLEASE_RELEASE: peer wants us to release"));
  EXPECT_TRUE(world.log.contains("PLEASE_RELEASE: released successfully"));
}

TEST(PleaseRelease, leavesNothingOnTheBluetoothThread) {
  World world;
  world.bluetoothQueue.keepFinishedWork();
  const std::weak_ptr<ReplyChannel> channel = world.peer.receive("PLEASE_RELEASE");
  world.advance(1s);
  EXPECT_EQ(world.manager().lastResult(), "Released. Pair on other Mac");
  EXPECT_TRUE(channel.expired());
}

TEST(PleaseRelease, failsWhenARemovalFails) {
  World world({"Magic Keyboard"});
  world.log.expectError("unregister: failed Magic Keyboard");
  world.log.expectError("Release: not all devices disconnected");
  world.workers.set("unregister", "A1", {.exitStatus = 69});
  const auto channel = world.peer.receive("PLEASE_RELEASE");
  world.advance(1s);
  EXPECT_EQ(channel->replies, Commands{DeviceCommand::operationFailed});
  EXPECT_TRUE(world.peer.sent.empty());
  EXPECT_TRUE(world.log.contains("PLEASE_RELEASE: release may have failed"));
}

TEST(PleaseRelease, duringAConnectIsRefusedAtOnceAndChangesNothing) {
  World world;
  world.setWorkers("connect", {.duration = 2s});
  world.manager().forceConnect(false);
  const auto token = world.manager().switchToken();
  EXPECT_EQ(world.peer.receive("PLEASE_RELEASE")->replies, Commands{DeviceCommand::operationFailed});
  EXPECT_EQ(world.manager().switchToken(), token);
  EXPECT_EQ(world.manager().ownershipState(), switchingToThisMac);
  EXPECT_EQ(world.statusTexts, Texts{"Quick connecting..."});
  EXPECT_TRUE(world.log.contains("PLEASE_RELEASE: release may have failed"));
}

TEST(PleaseRelease, ofACancelledReleaseIsNeverAnswered) {
  World world;
  world.setWorkers("unregister", {.duration = 1s});
  auto channel = world.peer.receive("PLEASE_RELEASE");
  const std::weak_ptr<FakeReplyChannel> held = channel;
  world.manager().cancelCurrentOperation();
  world.advance(5s);
  EXPECT_TRUE(channel->replies.empty());
  channel.reset();
  EXPECT_TRUE(held.expired());  // dropping the channel ends the peer's request
}

// The peer announces

TEST(PeerReleased, withAutomaticConnectOffSaysWhatToDo) {
  World world;
  world.peer.receive("RELEASED");
  EXPECT_EQ(world.manager().ownershipState(), released);
  EXPECT_EQ(world.statusTexts, Texts{"Peer released. Check Nearby Devices"});
  EXPECT_TRUE(world.log.contains("Peer released trackpad"));
}

TEST(PeerReleased, duringAConnectDoesNotEndIt) {
  World world({"Magic Keyboard"});
  world.setWorkers("connect", {.duration = 500ms});
  world.manager().forceConnect(false);
  world.peer.receive("RELEASED");
  EXPECT_TRUE(world.manager().isSwitching());
  world.advance(1s);
  EXPECT_EQ(world.manager().ownershipState(), thisMac);
}

TEST(PeerConnected, meansThatTheOtherComputerHasTheDevices) {
  World world;
  world.peer.receive("CONNECTED");
  EXPECT_EQ(world.manager().ownershipState(), otherMac);
  EXPECT_EQ(world.manager().lastResult(), "Other Mac has zolvex");
  EXPECT_EQ(world.notifications, Texts{"moved to peer"});
  EXPECT_TRUE(world.log.contains("Peer connected to trackpad"));
}

TEST(PeerConnected, duringAConnectRetiresTheFlow) {
  World world({"Magic Keyboard"});
  world.setWorkers("connect", {.duration = 500ms});
  int completions = 0;
  world.manager().forceConnect(false, [&] { ++completions; });
  world.peer.receive("CONNECTED");
  EXPECT_FALSE(world.manager().isSwitching());
  EXPECT_EQ(world.manager().currentOperation(), std::nullopt);
  world.advance(5s);
  EXPECT_EQ(world.manager().ownershipState(), otherMac);
  EXPECT_EQ(world.manager().lastResult(), "Other Mac has zolvex");
  EXPECT_EQ(completions, 0);
}

TEST(PeerConnected, aRefreshWithNothingHereShowsReleased) {
  World world;
  world.peer.receive("CONNECTED");
  world.manager().refreshFromLiveState();
  EXPECT_EQ(world.manager().ownershipState(), released);
}

}  // namespace
}  // namespace zolvex::test
