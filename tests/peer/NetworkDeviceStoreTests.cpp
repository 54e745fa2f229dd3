#include "core/SettingsKeys.h"
#include "peer/NetworkDeviceStore.h"
#include "support/World.h"

#include <gtest/gtest.h>

namespace zolvex::test {
namespace {

using namespace std::chrono_literals;
using enum DeviceCommand;

struct NetworkDeviceStoreTest : testing::Test {
  /// Sends and keeps the reply, if one comes.
  bool send(DeviceCommand command) {
    return world.network().sendCommand(command, [this](const PeerReply& reply) { replies.push_back(reply); });
  }
  const NetworkDevice& peer() { return *world.network().registeredPeer(); }
  std::vector<NetworkDevice> saved() {
    const auto text = world.defaults.string(settings::networkDevices).value_or("[]");
    return std::get<std::vector<NetworkDevice>>(decodeNetworkDevices(text));
  }

  World world{noDevices};
  std::vector<PeerReply> replies;
};

TEST_F(NetworkDeviceStoreTest, loadsTheRegisteredPeer) {
  EXPECT_EQ(peer().id, "ABC123");
}

TEST_F(NetworkDeviceStoreTest, undecodableStoredPeersAreLoggedAndLeaveTheListEmpty) {
  world.log.expectError("Failed to load network devices: ");
  world.defaults.set(settings::networkDevices, std::string("{"));
  FakePeerTransport transport(world.time);
  NetworkDeviceStore store(world.time, world.defaults, {nullptr, transport});
  store.start(world.manager());
  EXPECT_EQ(store.registeredPeer(), nullptr);
}

TEST_F(NetworkDeviceStoreTest, aSuccessfulReplyMarksThePeerReachable) {
  EXPECT_TRUE(send(pleaseRelease));
  EXPECT_TRUE(world.network().outboundCommandInFlight());
  world.advance(1s);
  EXPECT_EQ(replies, (std::vector<PeerReply>{{operationSuccess, std::nullopt}}));
  EXPECT_FALSE(world.network().outboundCommandInFlight());
  EXPECT_TRUE(world.network().isPeerReachable());
  EXPECT_EQ(saved(), world.network().networkDevices());
}

TEST_F(NetworkDeviceStoreTest, aVerdictIsPersistedAtOnceAndThatItStillHoldsEventually) {
  world.peer.receive("HEALTH_CHECK");
  EXPECT_EQ(world.defaults.notedEventually, 0);
  world.advance(Seconds(44.0));
  world.peer.receive("HEALTH_CHECK");
  EXPECT_EQ(world.defaults.notedEventually, 1 + 3) << "and three checks of our own";
  EXPECT_EQ(saved(), world.network().networkDevices());
  world.peer.answer = PeerReply::failed("timeout");
  world.advance(Seconds(60.0));
  EXPECT_FALSE(world.network().isPeerReachable());
  world.peer.receive("HEALTH_CHECK");
  send(pleaseRelease);
  world.advance(1s);
  EXPECT_EQ(world.defaults.notedEventually, 4) << "both were news";
  EXPECT_EQ(saved(), world.network().networkDevices());
}

TEST_F(NetworkDeviceStoreTest, aFailedCommandMarksThePeerUnreachableAtOnce) {
  send(pleaseRelease);
  world.advance(1s);
  world.peer.answer = PeerReply::failed("timeout");
  send(pleaseRelease);
  world.advance(1s);
  EXPECT_FALSE(peer().isActive);
  EXPECT_EQ(peer().lastReachableAt, std::nullopt);
  EXPECT_EQ(saved(), world.network().networkDevices());
  EXPECT_EQ(replies.back().failure, "timeout");
}

TEST_F(NetworkDeviceStoreTest, theFlagIsClearedAndTheVerdictMadeBeforeTheCompletionRuns) {
  world.peer.answerDelay = std::nullopt;
  bool inFlight = true;
  bool reachable = false;
  world.network().sendCommand(released, [&](const PeerReply&) {
    inFlight = world.network().outboundCommandInFlight();
    reachable = world.network().isPeerReachable();
  });
  EXPECT_FALSE(inFlight);
  EXPECT_TRUE(reachable);
}

TEST_F(NetworkDeviceStoreTest, withoutAPeerACommandIsLoggedAndNeverCompletes) {
  world.log.expectError("No peer device found");
  world.network().removePeer();
  EXPECT_FALSE(send(released));
  world.advance(1min);
  EXPECT_TRUE(replies.empty());
  EXPECT_TRUE(world.peer.sent.empty());
}

TEST_F(NetworkDeviceStoreTest, aSecondCommandWhileOneIsUnderWayIsDropped) {
  world.log.expectError("Peer command already in flight; dropping CONNECTED");
  EXPECT_TRUE(send(released));
  EXPECT_FALSE(send(connected));
  world.advance(1s);
  EXPECT_EQ(replies.size(), 1u);
  EXPECT_EQ(world.peer.sent, std::vector{released});
}

TEST_F(NetworkDeviceStoreTest, aCommandWhoseTimePassedInASleepMakesRoomForTheNext) {
  world.peer.answer.reset();
  EXPECT_TRUE(send(released));
  world.advance(10s);  // its time-out stood still
  world.network().endOverdueCommand();
  EXPECT_EQ(replies, std::vector{PeerReply::failed("timeout")});
  EXPECT_FALSE(world.network().isPeerReachable());
  EXPECT_TRUE(send(pleaseRelease));
}

TEST_F(NetworkDeviceStoreTest, aCommandKeepsTheTimeItHasLeftAfterAShortSleep) {
  world.peer.answer.reset();
  EXPECT_TRUE(send(released));
  world.advance(9999ms);
  world.network().endOverdueCommand();
  EXPECT_TRUE(replies.empty());
  EXPECT_EQ(world.network().outboundCommand(), released);
}

TEST_F(NetworkDeviceStoreTest, withoutABluetoothLinkACommandFailsAtOnce) {
  world.log.expectError("BLE central not available");
  world.defaults.set(settings::transportMode, std::string("bluetooth"));
  EXPECT_TRUE(send(pleaseRelease));
  EXPECT_EQ(replies, std::vector<PeerReply>{PeerReply::failed()});
}

TEST_F(NetworkDeviceStoreTest, anyOtherTransportTextSelectsBonjour) {
  world.defaults.set(settings::transportMode, std::string("BLUETOOTH"));
  send(pleaseRelease);
  EXPECT_EQ(world.peer.sent, std::vector{pleaseRelease});
}

TEST_F(NetworkDeviceStoreTest, anAbsentTransportModeCountsAsBluetooth) {
  world.defaults.remove(settings::transportMode);
  EXPECT_EQ(world.network().transportMode(), "bluetooth");
}

// Health checks

TEST_F(NetworkDeviceStoreTest, checksHealthAfterThreeSecondsAndThenEveryFifteen) {
  world.advance(2999ms);
  EXPECT_TRUE(world.peer.sent.empty());
  world.advance(1ms);
  EXPECT_EQ(world.peer.sent, std::vector{healthCheck});
  world.advance(14999ms);
  EXPECT_EQ(world.peer.sent.size(), 1u);
  world.advance(1ms);
  EXPECT_EQ(world.peer.sent.size(), 2u);
}

TEST_F(NetworkDeviceStoreTest, withoutAPeerNoHealthIsChecked) {
  world.network().removePeer();
  world.advance(1min);
  EXPECT_TRUE(world.peer.sent.empty());
}

TEST_F(NetworkDeviceStoreTest, aHealthCheckIsSkippedWhileACommandIsUnderWay) {
  world.peer.answer = std::nullopt;
  send(pleaseRelease);
  world.advance(4s);
  EXPECT_EQ(world.peer.sent, std::vector{pleaseRelease});
}

TEST_F(NetworkDeviceStoreTest, aHealthCheckThatIsNotAnsweredYetIsNotRepeated) {
  world.peer.answer = std::nullopt;
  world.advance(1min);
  EXPECT_EQ(world.peer.sent, std::vector{healthCheck});
  world.peer.complete(PeerReply::failed("timeout"));
  world.advance(15s);
  EXPECT_EQ(world.peer.sent.size(), 2u);
}

TEST_F(NetworkDeviceStoreTest, afterFailedHealthChecksThePeerCountsAsReachableForFortyFiveSeconds) {
  world.peer.answerDelay = std::nullopt;
  world.advance(3s);
  ASSERT_TRUE(world.network().isPeerReachable());
  world.peer.answer = PeerReply::failed("conn_failed");
  world.advance(44999ms);
  EXPECT_TRUE(peer().isActive);
  EXPECT_TRUE(world.network().isPeerReachable());
  world.advance(1ms);
  EXPECT_FALSE(world.network().isPeerReachable());
}

// Received commands

TEST_F(NetworkDeviceStoreTest, answersAHealthCheckAndMarksThePeerReachable) {
  EXPECT_EQ(world.peer.receive("HEALTH_CHECK")->replies, std::vector{operationSuccess});
  EXPECT_TRUE(world.network().isPeerReachable());
  EXPECT_EQ(saved(), world.network().networkDevices());
}

TEST_F(NetworkDeviceStoreTest, anUnknownCommandGetsNoReplyAndProvesNothing) {
  world.log.expectError("Unknown command received");
  for (const auto* text : {"health_check", "HEALTH_CHECK ", "", "HELLO"})
    EXPECT_TRUE(world.peer.receive(text)->replies.empty());
  EXPECT_FALSE(world.network().isPeerReachable());
}

TEST_F(NetworkDeviceStoreTest, announcementsAreAnsweredBeforeTheyAreHandedOn) {
  const auto channel = std::make_shared<FakeReplyChannel>();
  std::vector<std::size_t> repliesWhenHandedOn;
  const auto subscription =
      world.manager().observeOwnershipState([&](auto) { repliesWhenHandedOn.push_back(channel->replies.size()); });
  world.peer.receive("CONNECTED", channel);
  EXPECT_EQ(world.manager().ownershipState(), DeviceOwnershipState::otherMac);
  world.peer.receive("RELEASED", channel);
  EXPECT_EQ(world.manager().ownershipState(), DeviceOwnershipState::released);
  EXPECT_EQ(repliesWhenHandedOn, (std::vector<std::size_t>{1, 2}));
  EXPECT_EQ(channel->replies, (std::vector{operationSuccess, operationSuccess}));
  EXPECT_TRUE(world.log.contains("Received CONNECTED: peer grabbed trackpad"));
  EXPECT_TRUE(world.log.contains("Received RELEASED: peer released trackpad"));
}

TEST_F(NetworkDeviceStoreTest, repliesAreNoRequests) {
  world.log.expectError("Unhandled command: OP_SUCCESS");
  world.log.expectError("Unhandled command: OP_FAILED");
  EXPECT_EQ(world.peer.receive("OP_SUCCESS")->replies, std::vector{operationFailed});
  EXPECT_EQ(world.peer.receive("OP_FAILED")->replies, std::vector{operationFailed});
}

// Peers

TEST_F(NetworkDeviceStoreTest, registeringReplacesThePeerAndTakesItOffTheDiscoveredList) {
  world.peer.discover({"DEF456", "DEF456", "192.0.2.9", std::uint16_t{99}, world.time.now(), true, world.time.now()});
  world.network().registerPeer(world.network().discoveredNetworkDevices().front());
  EXPECT_EQ(peer().id, "DEF456");
  EXPECT_EQ(world.network().networkDevices().size(), 1u);
  EXPECT_TRUE(world.network().discoveredNetworkDevices().empty());
  EXPECT_EQ(saved(), world.network().networkDevices());
}

TEST_F(NetworkDeviceStoreTest, aPeerThatIsReplacedCanBeChosenAgain) {
  const auto seen = [this](const std::string& id) {
    return NetworkDevice{id, id, "192.0.2.9", std::uint16_t{99}, world.time.now(), true, world.time.now()};
  };
  for (const auto* id : {"ABC123", "DEF456"}) world.peer.discover(seen(id));
  world.network().registerPeer(seen("DEF456"));
  EXPECT_EQ(peer().id, "DEF456");
  EXPECT_EQ(world.network().discoveredNetworkDevices(), std::vector{seen("ABC123")});
  EXPECT_EQ(saved(), world.network().networkDevices());
  world.network().registerPeer(seen("ABC123"));
  EXPECT_EQ(peer().id, "ABC123");
  EXPECT_EQ(world.network().discoveredNetworkDevices(), std::vector{seen("DEF456")});
}

TEST_F(NetworkDeviceStoreTest, registeringTheSamePeerOnceMoreNeedsNoNewReport) {
  world.network().registerPeer(peer());
  EXPECT_EQ(world.peer.reportsAsked, 0);
}

TEST_F(NetworkDeviceStoreTest, aRemovedPeerIsForgottenAndCanBeFoundAgain) {
  world.network().removePeer();
  EXPECT_EQ(world.network().registeredPeer(), nullptr);
  EXPECT_TRUE(saved().empty());
  EXPECT_EQ(world.peer.reportsAsked, 1);
  world.network().removePeer();
  EXPECT_EQ(world.peer.reportsAsked, 1);
}

TEST_F(NetworkDeviceStoreTest, aRediscoveredPeerGivesTheRegisteredOneItsNewAddress) {
  world.advance(1s);
  world.peer.discover({"ABC123", "ABC123", "192.0.2.8", std::uint16_t{5000}, world.time.now(), true, world.time.now()});
  EXPECT_EQ(peer().host, "192.0.2.8");
  EXPECT_EQ(peer().port, 5000);
  EXPECT_EQ(peer().lastUpdated, world.time.now());
  EXPECT_FALSE(peer().isActive);
  EXPECT_EQ(saved(), world.network().networkDevices());
}

TEST_F(NetworkDeviceStoreTest, aPeerThatIsFoundTwiceIsListedOnce) {
  NetworkDevice found{"DEF456", "DEF456", "192.0.2.9", std::uint16_t{99}, world.time.now(), true, world.time.now()};
  world.peer.discover(found);
  found.port = 100;
  world.peer.discover(found);
  EXPECT_EQ(world.network().discoveredNetworkDevices(), std::vector{found});
}

TEST_F(NetworkDeviceStoreTest, computersThatComeAndGoAreNotKeptForever) {
  const auto discover = [this](const std::string& id) {
    world.peer.discover({id, id, "192.0.2.9", std::uint16_t{99}, world.time.now(), true, world.time.now()});
  };
  discover("STAYS");
  for (std::size_t i = 0; i < 2 * NetworkDeviceStore::maximumDiscovered; ++i) {
    discover(std::to_string(i));
    world.peer.lose(std::to_string(i));
  }
  const auto& discovered = world.network().discoveredNetworkDevices();
  EXPECT_EQ(discovered.size(), NetworkDeviceStore::maximumDiscovered);
  EXPECT_EQ(discovered.front().id, "STAYS");
  EXPECT_EQ(discovered.back().id, std::to_string(2 * NetworkDeviceStore::maximumDiscovered - 1));
}

TEST_F(NetworkDeviceStoreTest, aLostPeerIsUnreachable) {
  send(released);
  world.advance(1s);
  world.peer.lose("ABC123");
  EXPECT_FALSE(world.network().isPeerReachable());
  EXPECT_EQ(saved(), world.network().networkDevices());
}

TEST_F(NetworkDeviceStoreTest, changingTheTransportForgetsWhatWasSeenButKeepsTheLastContact) {
  send(released);
  world.advance(1s);
  world.peer.discover({"DEF456", "DEF456", "192.0.2.9", std::uint16_t{99}, world.time.now(), true, world.time.now()});
  const auto contact = peer().lastReachableAt;
  world.network().setTransportMode("bluetooth");
  EXPECT_FALSE(world.peer.isStarted());
  EXPECT_TRUE(world.log.contains("Starting BLE transport"));
  EXPECT_EQ(world.defaults.string(settings::transportMode), "bluetooth");
  EXPECT_TRUE(world.network().discoveredNetworkDevices().empty());
  EXPECT_FALSE(peer().isActive);
  EXPECT_EQ(peer().lastReachableAt, contact);
  EXPECT_EQ(saved(), world.network().networkDevices());
  world.network().setTransportMode("bonjour");
  EXPECT_TRUE(world.peer.isStarted());
  EXPECT_EQ(world.peer.starts, 2);
}

// A transport mode that somebody else wrote

TEST_F(NetworkDeviceStoreTest, aModeChangedInTheSettingsSwitchesTheRunningTransport) {
  send(released);
  world.advance(1s);
  world.peer.discover({"DEF456", "DEF456", "192.0.2.9", std::uint16_t{99}, world.time.now(), true, world.time.now()});
  const auto contact = peer().lastReachableAt;
  world.defaults.set(settings::transportMode, std::string("bluetooth"));
  EXPECT_TRUE(world.peer.isStarted()) << "not in the middle of what changes the settings";
  world.runUntilIdle();
  EXPECT_FALSE(world.peer.isStarted());
  EXPECT_TRUE(world.log.contains("Starting BLE transport"));
  EXPECT_TRUE(world.network().discoveredNetworkDevices().empty());
  EXPECT_FALSE(peer().isActive);
  EXPECT_EQ(peer().lastReachableAt, contact);
  EXPECT_EQ(saved(), world.network().networkDevices());
  world.defaults.set(settings::transportMode, std::string("bonjour"));
  world.runUntilIdle();
  EXPECT_TRUE(world.peer.isStarted());
  EXPECT_EQ(world.peer.starts, 2);
}

TEST_F(NetworkDeviceStoreTest, aModeThatIsNoLongerSetFallsBackToBluetooth) {
  world.defaults.remove(settings::transportMode);
  world.runUntilIdle();
  EXPECT_FALSE(world.peer.isStarted());
  EXPECT_EQ(world.log.count("Starting BLE transport"), 1);
}

TEST_F(NetworkDeviceStoreTest, aModeThatSelectsTheSameTransportLeavesItRunning) {
  world.peer.discover({"DEF456", "DEF456", "192.0.2.9", std::uint16_t{99}, world.time.now(), true, world.time.now()});
  world.defaults.set(settings::transportMode, std::string("BLUETOOTH"));
  world.runUntilIdle();
  EXPECT_EQ(world.peer.starts, 1);
  EXPECT_EQ(world.network().discoveredNetworkDevices().size(), 1u);
}

TEST_F(NetworkDeviceStoreTest, aModeThatIsChangedBackBeforeItIsLookedAtLeavesTheTransportRunning) {
  world.defaults.set(settings::transportMode, std::string("bluetooth"));
  world.defaults.set(settings::transportMode, std::string("bonjour"));
  world.runUntilIdle();
  EXPECT_EQ(world.peer.starts, 1);
  EXPECT_FALSE(world.log.contains("Starting BLE transport"));
}

TEST_F(NetworkDeviceStoreTest, ourOwnChangeOfTheTransportSwitchesOnce) {
  world.network().setTransportMode("bluetooth");
  world.network().setTransportMode("bonjour");
  world.runUntilIdle();
  EXPECT_EQ(world.peer.starts, 2);
  EXPECT_EQ(world.log.count("Starting BLE transport"), 1);
  EXPECT_FALSE(world.log.contains("The transport was changed in the settings"));
}

TEST_F(NetworkDeviceStoreTest, otherSettingsDoNotTouchTheTransport) {
  world.defaults.set(settings::autoConnect, false);
  world.runUntilIdle();
  EXPECT_EQ(world.peer.starts, 1);
}

// A peer that somebody else wrote

TEST_F(NetworkDeviceStoreTest, aPeerChangedInTheSettingsIsTakenOver) {
  const NetworkDevice other{"DEF456", "Attic", "192.0.2.9", std::uint16_t{99}, world.time.now(), false, std::nullopt};
  world.peer.discover(other);
  world.defaults.set(settings::networkDevices, *encodeNetworkDevices(std::vector{other}));
  EXPECT_EQ(peer().id, "ABC123") << "not in the middle of what changes the settings";
  world.runUntilIdle();
  EXPECT_EQ(peer(), other);
  EXPECT_TRUE(world.network().discoveredNetworkDevices().empty());
  EXPECT_EQ(world.log.count("The peer was changed in the settings"), 1);
  world.peer.receive("HEALTH_CHECK");
  world.runUntilIdle();
  EXPECT_EQ(saved(), world.network().networkDevices());
  EXPECT_EQ(world.log.count("The peer was changed in the settings"), 1) << "ours are no news";
}

TEST_F(NetworkDeviceStoreTest, aPeerThatComesTogetherWithATransportIsKept) {
  world.network().removePeer();
  world.network().setTransportMode("bluetooth");
  const NetworkDevice other{"DEF456", "Attic", "192.0.2.9", std::uint16_t{99}, world.time.now(), false, std::nullopt};
  world.defaults.set(settings::networkDevices, *encodeNetworkDevices(std::vector{other}));
  world.defaults.set(settings::transportMode, std::string("bonjour"));
  world.runUntilIdle();
  EXPECT_EQ(peer(), other);
  EXPECT_EQ(saved(), std::vector{other});
  EXPECT_TRUE(world.peer.isStarted());
}

TEST_F(NetworkDeviceStoreTest, aPeerRemovedFromTheSettingsIsForgotten) {
  world.defaults.remove(settings::networkDevices);
  world.runUntilIdle();
  EXPECT_EQ(world.network().registeredPeer(), nullptr);
  EXPECT_EQ(world.defaults.string(settings::networkDevices), std::nullopt);
}

TEST_F(NetworkDeviceStoreTest, aPeerInTheSettingsThatCannotBeReadIsLeftToWhoeverWroteIt) {
  world.log.expectError("Failed to load network devices: ");
  world.defaults.set(settings::networkDevices, std::string("[{"));
  world.runUntilIdle();
  world.peer.receive("HEALTH_CHECK");
  world.advance(Seconds(60.0));
  EXPECT_EQ(world.network().registeredPeer(), nullptr);
  EXPECT_EQ(world.defaults.string(settings::networkDevices), "[{");
  EXPECT_EQ(world.log.count("The peer was changed in the settings"), 1) << "and only once a change is looked at";
}

TEST_F(NetworkDeviceStoreTest, aReplyAfterTheTransportChangedStillCompletesItsCommand) {
  world.peer.answer = std::nullopt;
  send(pleaseRelease);
  world.network().setTransportMode("bluetooth");
  world.peer.complete(PeerReply::failed("timeout"));
  EXPECT_EQ(replies.size(), 1u);
  EXPECT_FALSE(world.network().outboundCommandInFlight());
}

}  // namespace
}  // namespace zolvex::test
