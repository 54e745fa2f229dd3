#include "support/World.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace zolvex::test {
namespace {

using namespace std::chrono_literals;
using enum DeviceOwnershipState;
using Texts = std::vector<std::string>;

bool wasSent(const World& world, DeviceCommand command) {
  return std::find(world.peer.sent.begin(), world.peer.sent.end(), command) != world.peer.sent.end();
}

/// No device comes up, however often it is tried.
void nothingConnects(World& world, Seconds each = 1s) {
  world.log.expectError("connect: FAILED");
  world.setWorkers("connect", {.exitStatus = 1, .duration = each});
}

TEST(Connect, asksThePeerThenConnectsEveryDevice) {
  World world;
  world.setWorkers("connect", {.duration = 100ms});
  int completions = 0;
  world.manager().connectToThisMac(false, [&] { ++completions; });
  EXPECT_EQ(world.manager().currentOperation(), SwitchOperation::connecting);
  world.advance(1s);
  EXPECT_EQ(world.statusTexts, (Texts{"Connecting...", "Asking peer to release...", "Connecting...", "Connected!"}));
  EXPECT_EQ(world.states, (std::vector{switchingToThisMac, thisMac}));
  EXPECT_EQ(world.workers.runs, (Texts{"connect A1", "connect A2"}));
  EXPECT_EQ(world.notifications, Texts{"moved here"});
  EXPECT_EQ(world.peer.sent, (std::vector{DeviceCommand::pleaseRelease, DeviceCommand::connected}));
  EXPECT_EQ(completions, 1);
  EXPECT_FALSE(world.manager().isSwitching());
  EXPECT_EQ(world.manager().currentOperation(), std::nullopt);
}

TEST(Connect, logsItsStepsInOrder) {
  World world({"Magic Keyboard"});
  world.manager().connectToThisMac(false);
  world.advance(1s);
  EXPECT_EQ(world.log.lines(), (Texts{"loaded 1 managed Bluetooth devices", "Device manager started",
                                      "Connect: starting", "Connect: sending PLEASE_RELEASE to peer",
                                      "Connect: peer released, proceeding", "Connect: pairing + connecting all devices",
                                      "connect: SUCCESS Magic Keyboard", "Connect: SUCCESS"}));
}

TEST(Connect, leavesNothingOnTheBluetoothThread) {
  World world;
  world.bluetoothQueue.keepFinishedWork();
  auto heldByTheCompletion = std::make_shared<int>();
  const std::weak_ptr held = heldByTheCompletion;
  world.manager().connectToThisMac(false, [kept = std::move(heldByTheCompletion)] {});
  world.advance(1s);
  EXPECT_EQ(world.manager().lastResult(), "Connected!");
  EXPECT_TRUE(held.expired());
}

TEST(Connect, withEverythingHereOnlyReconciles) {
  World world;
  world.haveConnected(2);
  world.manager().connectToThisMac(true);
  EXPECT_EQ(world.statusTexts, Texts{"Already connected"});
  EXPECT_TRUE(world.peer.sent.empty());
  EXPECT_EQ(world.manager().switchToken(), 0);
}

TEST(Connect, withSomeHereAndNoWishForTheOthersOnlyReconciles) {
  World world;
  world.haveConnected(1);
  world.manager().connectToThisMac(false);
  EXPECT_EQ(world.statusTexts, Texts{"Partially connected"});
  EXPECT_FALSE(world.manager().isSwitching());
  EXPECT_TRUE(world.peer.sent.empty());
}

TEST(Connect, ofMissingDevicesEndsRightAfterSubmittingThem) {
  World world;
  world.haveConnected(1);
  world.peer.answerDelay = std::nullopt;
  world.manager().connectToThisMac(true);
  EXPECT_EQ(world.statusTexts, (Texts{"Connecting missing devices...", "Asking peer to release...", "Connecting...",
                                      "Partially connected"}));
  EXPECT_EQ(world.manager().ownershipState(), partiallyThisMac);
  EXPECT_EQ(world.notifications, Texts{"some moved here"});
  EXPECT_TRUE(wasSent(world, DeviceCommand::connected));
  world.advance(1s);  // the submitted connects still run, and show only when asked
  EXPECT_EQ(world.workers.runs.size(), 2u);
  EXPECT_EQ(world.manager().ownershipState(), partiallyThisMac);
  world.manager().refreshFromLiveState();
  EXPECT_EQ(world.manager().ownershipState(), thisMac);
}

TEST(Connect, withoutAPeerStartsAtOnceAndStillFallsBack) {
  World world({"Magic Keyboard"}, false);
  nothingConnects(world);
  world.manager().connectToThisMac(false);
  world.advance(10s);
  EXPECT_EQ(world.statusTexts,
            (Texts{"Connecting...", "Turn the device off and on, then try again.",
                   "Connect failed. Quick connecting...", "Turn the device off and on, then try again."}));
  EXPECT_EQ(world.states, (std::vector{switchingToThisMac, failed, switchingToThisMac, failed}));
  EXPECT_EQ(world.workers.runs.size(), 2u);
  EXPECT_TRUE(world.log.contains("Connect: no devices connected, falling back to quick connect"));
}

TEST(Connect, aSecondOneWhileOneRunsIsIgnored) {
  World world;
  world.manager().connectToThisMac(false);
  world.manager().connectToThisMac(false);
  world.manager().forceConnect(true);
  world.manager().releaseDevices();
  EXPECT_EQ(world.manager().switchToken(), 1);
  EXPECT_EQ(world.peer.sent.size(), 1u);
}

TEST(Connect, withNoDevicesEndsUnknown) {
  World world(noDevices);
  int completions = 0;
  world.manager().connectToThisMac(false, [&] { ++completions; });
  world.advance(1s);
  EXPECT_EQ(world.manager().ownershipState(), unknown);
  EXPECT_EQ(world.manager().lastResult(), "No devices configured");
  EXPECT_FALSE(world.manager().isSwitching());
  EXPECT_EQ(completions, 1);
}

TEST(Connect, everyAnswerButSuccessBecomesAQuickConnect) {
  for (const auto& answer : {PeerReply::failed(), PeerReply::failed("timeout"), PeerReply{std::nullopt, std::nullopt},
                             PeerReply{DeviceCommand::released, std::nullopt}}) {
    World world({"Magic Keyboard"});
    world.log.expectError("Connect: peer did not release, switching to quick connect fallback");
    world.peer.answer = answer;
    world.manager().connectToThisMac(false);
    world.advance(1s);
    EXPECT_EQ(world.statusTexts, (Texts{"Connecting...", "Asking peer to release...",
                                        "Peer unavailable. Quick connecting...", "Connected!"}));
    EXPECT_EQ(world.states, (std::vector{switchingToThisMac, switchingToThisMac, thisMac}));
  }
}

TEST(Connect, aCommandInFlightMakesItAQuickConnect) {
  World world({"Magic Keyboard"});
  world.log.expectError("Peer command already in flight; dropping PLEASE_RELEASE");
  world.log.expectError("Connect: peer did not release, switching to quick connect fallback");
  world.setWorkers("connect", {.duration = 100ms});
  world.network().sendCommand(DeviceCommand::released, {});
  world.manager().connectToThisMac(false);
  EXPECT_EQ(world.manager().lastResult(), "Peer unavailable. Quick connecting...");
  EXPECT_EQ(world.log.count("Peer command already in flight; dropping PLEASE_RELEASE"), 1);
  world.advance(1s);
  EXPECT_EQ(world.manager().lastResult(), "Connected!");
}

// The early finish

TEST(Connect, finishesAtTheFirstPollThatSeesADevice) {
  World world;
  world.workers.set("connect", "A1", {.duration = 200ms});
  world.workers.set("connect", "A2", {.duration = 3s});
  world.manager().forceConnect(false);
  world.advance(249ms);
  EXPECT_TRUE(world.manager().isSwitching());
  world.advance(1ms);
  EXPECT_EQ(world.manager().ownershipState(), partiallyThisMac);
  EXPECT_EQ(world.notifications, Texts{"some moved here"});
  world.advance(10s);  // the other device comes up later and changes no ownership
  EXPECT_EQ(world.manager().ownershipState(), partiallyThisMac);
  EXPECT_EQ(world.statusTexts, (Texts{"Quick connecting...", "Partially connected"}));
  EXPECT_TRUE(world.store().peripherals()[1].isConnected);
}

TEST(Connect, pollsTwentyFourTimesThenLetsTheWorkersDecide) {
  World world;
  world.log.expectError("connect: FAILED Magic Keyboard");
  world.workers.set("connect", "A1", {.exitStatus = 1, .duration = 5900ms});
  world.workers.set("connect", "A2", {.duration = 1s});
  world.manager().forceConnect(false);
  world.advance(6899ms);  // A2 comes up at 6.9 s, after the last poll at 6.0 s
  EXPECT_TRUE(world.manager().isSwitching());
  world.advance(1ms);
  EXPECT_EQ(world.manager().lastResult(), "Partially connected");
}

TEST(Connect, theTwentyFourthPollIsAtSixSeconds) {
  World world;
  world.workers.set("connect", "A1", {.duration = 5900ms});
  world.workers.set("connect", "A2", {.duration = 5s});
  world.manager().forceConnect(false);
  world.advance(5999ms);
  EXPECT_TRUE(world.manager().isSwitching());
  world.advance(1ms);
  EXPECT_EQ(world.manager().lastResult(), "Partially connected");
}

// Nothing connects

TEST(Connect, fallsBackOnceAndThenFails) {
  World world;
  nothingConnects(world);
  int completions = 0;
  world.manager().connectToThisMac(false, [&] { ++completions; });
  world.advance(2100ms);
  EXPECT_EQ(completions, 0);  // the first pass is not the outcome
  EXPECT_EQ(world.manager().lastResult(), "Connect failed. Quick connecting...");
  EXPECT_EQ(world.manager().switchToken(), 2);
  world.advance(10s);
  EXPECT_EQ(world.manager().ownershipState(), failed);
  EXPECT_EQ(world.manager().lastResult(), "Turn the device off and on, then try again.");
  EXPECT_EQ(world.workers.runs.size(), 4u);
  EXPECT_EQ(completions, 1);
  EXPECT_TRUE(world.notifications.empty());
  EXPECT_FALSE(wasSent(world, DeviceCommand::connected));
}

TEST(Connect, theSecondPassMaySucceed) {
  World world({"Magic Keyboard"});
  nothingConnects(world);
  world.manager().connectToThisMac(false);
  world.advance(500ms);  // the first pass is under way and will fail
  world.setWorkers("connect", {});
  world.advance(5s);
  EXPECT_EQ(world.statusTexts.back(), "Connected!");
  EXPECT_EQ(world.states, (std::vector{switchingToThisMac, failed, switchingToThisMac, thisMac}));
  EXPECT_EQ(world.workers.runs.size(), 2u);
  EXPECT_TRUE(wasSent(world, DeviceCommand::connected));
}

TEST(ForceConnect, neverAsksThePeerAndNeverFallsBack) {
  World world;
  nothingConnects(world);
  int completions = 0;
  world.manager().forceConnect(false, [&] { ++completions; });
  EXPECT_TRUE(world.log.contains("Force connect: skipping peer release"));
  world.advance(2500ms);
  EXPECT_EQ(world.statusTexts, (Texts{"Quick connecting...", "Turn the device off and on, then try again."}));
  EXPECT_TRUE(world.peer.sent.empty());
  EXPECT_EQ(completions, 1);
}

TEST(ForceConnect, tellsThePeerWhenDevicesCameUp) {
  World world({"Magic Keyboard"});
  world.manager().forceConnect(false);
  world.advance(1s);
  EXPECT_EQ(world.peer.sent, std::vector{DeviceCommand::connected});
}

TEST(ForceConnect, ofMissingDevicesSaysSo) {
  World world;
  world.haveConnected(1);
  world.manager().forceConnect(true);
  EXPECT_EQ(world.statusTexts.front(), "Connecting missing devices...");
}

// Late and lost answers

TEST(Connect, theAnswerToACancelledRequestIsIgnored) {
  World world;
  int completions = 0;
  world.manager().connectToThisMac(false, [&] { ++completions; });
  world.manager().cancelCurrentOperation();
  world.advance(10s);
  EXPECT_EQ(world.manager().lastResult(), "Cancelled");
  EXPECT_TRUE(world.workers.runs.empty());
  EXPECT_EQ(completions, 0);
}

TEST(Connect, theAnswerToASupersededRequestIsIgnored) {
  World world;
  world.peer.answerDelay = 5s;
  world.manager().connectToThisMac(false);
  world.manager().cancelCurrentOperation();
  world.setWorkers("unregister", {.duration = 7s});
  world.manager().releaseDevices();
  world.advance(6s);
  EXPECT_EQ(world.manager().ownershipState(), releasing);
  EXPECT_EQ(world.workers.runs, Texts{"unregister A1"});
}

TEST(Connect, cancelledDuringAPassItStaysCancelled) {
  World world;
  world.setWorkers("connect", {.duration = 400ms});
  world.manager().forceConnect(false);
  world.advance(300ms);
  world.manager().cancelCurrentOperation();
  world.advance(10s);
  EXPECT_EQ(world.manager().lastResult(), "Cancelled");
  EXPECT_TRUE(world.notifications.empty());
  EXPECT_TRUE(world.peer.sent.empty() || !wasSent(world, DeviceCommand::connected));
}

TEST(Connect, theEndOfTheManagerInTheMiddleIsHarmless) {
  for (const auto moment : {0ms, 60ms, 300ms, 800ms}) {
    World world;
    world.setWorkers("connect", {.duration = 400ms});
    world.manager().connectToThisMac(false);
    world.advance(moment);
    world.destroyManager();
    world.advance(2s);
    EXPECT_EQ(world.workers.runs.size(), moment == 0ms ? 0u : 2u);
  }
}

TEST(Connect, aRefreshThatReconcilesRetiresThePass) {
  World world;
  world.workers.set("connect", "A1", {.duration = 100ms});
  world.workers.set("connect", "A2", {.duration = 50ms});
  world.manager().forceConnect(false);
  world.advance(120ms);
  world.manager().refreshFromLiveState();
  EXPECT_EQ(world.manager().lastResult(), "Partially connected");
  world.advance(5s);
  EXPECT_EQ(world.statusTexts, (Texts{"Quick connecting...", "Partially connected"}));
  EXPECT_TRUE(world.notifications.empty());
}

}  // namespace
}  // namespace zolvex::test
