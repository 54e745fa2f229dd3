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

constexpr Seconds launchDelay{2.0};
constexpr Seconds wakeDelay{0.75};
constexpr Seconds unlockDelay{0.5};
constexpr Seconds settled{0.9};

/// A computer that has run for a while, whose user now turns automatic connect on.
class AutoConnect : public testing::Test {
 protected:
  explicit AutoConnect(const Texts& devices = {"Magic Keyboard", "Magic Trackpad"}, bool hasPeer = true)
      : world(devices, hasPeer) {
    world.advance(launchDelay);
    world.enableAutoConnect();
  }

  /// No device comes up, however often it is tried.
  void nothingConnects(Seconds each = 1s) {
    world.log.expectError("connect: FAILED");
    world.setWorkers("connect", {.exitStatus = 1, .duration = each});
  }

  void happens(SessionEvent event) { world.session.happens(event); }
  bool logged(const std::string& line) const { return world.log.contains(line); }
  bool wasAsked(DeviceCommand command) const {
    return std::find(world.peer.sent.begin(), world.peer.sent.end(), command) != world.peer.sent.end();
  }

  World world;
};

class AutoConnectOneDevice : public AutoConnect {
 protected:
  AutoConnectOneDevice() : AutoConnect({"Magic Keyboard"}) {}
};

class AutoConnectNoDevices : public AutoConnect {
 protected:
  AutoConnectNoDevices() : AutoConnect(noDevices) {}
};

class AutoConnectNoPeer : public AutoConnect {
 protected:
  AutoConnectNoPeer() : AutoConnect({"Magic Keyboard"}, false) {}
};

// Launch

TEST(AutoConnectAtLaunch, takesTheDevicesWithoutAskingThePeer) {
  World world;
  world.enableAutoConnect();
  world.setWorkers("connect", {.duration = 100ms});
  world.advance(launchDelay + settled - 1ms);
  EXPECT_TRUE(world.statusTexts.empty());
  EXPECT_TRUE(world.log.contains("Launch: evaluating auto-connect"));
  world.advance(500ms);
  EXPECT_EQ(world.statusTexts, (Texts{"Launch: auto-connecting", "Quick connecting...", "Connected!"}));
  EXPECT_EQ(world.states, (std::vector{switchingToThisMac, switchingToThisMac, thisMac}));
  EXPECT_EQ(world.peer.sent, (Commands{DeviceCommand::healthCheck, DeviceCommand::connected}));
}

TEST(AutoConnectAtLaunch, logsItsSteps) {
  World world({"Magic Keyboard"});
  world.enableAutoConnect();
  world.advance(2950ms);
  EXPECT_EQ(
      world.log.lines(),
      (Texts{"loaded 1 managed Bluetooth devices", "Device manager started", "Launch: evaluating auto-connect",
             "Launch: auto-connecting", "Waking display via caffeinate", "Force connect: skipping peer release",
             "Connect: pairing + connecting all devices", "connect: SUCCESS Magic Keyboard", "Connect: SUCCESS"}));
}

TEST(AutoConnectAtLaunch, theEndOfTheManagerBeforeItIsHarmless) {
  for (const Seconds moment : {Seconds(1.0), launchDelay + settled / 2}) {
    World world;
    world.enableAutoConnect();
    world.advance(moment);
    world.destroyManager();
    world.advance(20s);
    EXPECT_TRUE(world.workers.runs.empty());
  }
}

// Triggers

TEST_F(AutoConnect, aWakeTakesTheDevicesWithoutAskingThePeer) {
  for (const auto& [event, reason] : {std::pair{SessionEvent::systemDidWake, std::string("System wake")},
                                      std::pair{SessionEvent::displayDidWake, std::string("Screen wake")}}) {
    World other;
    other.advance(launchDelay);
    other.enableAutoConnect();
    other.setWorkers("connect", {.duration = 100ms});
    other.session.happens(event);
    other.advance(wakeDelay + settled - 1ms);
    EXPECT_TRUE(other.statusTexts.empty());
    other.advance(1s);
    EXPECT_EQ(other.statusTexts, (Texts{reason + ": auto-connecting", "Quick connecting...", "Connected!"}));
  }
}

TEST_F(AutoConnect, anUnlockAsksThePeer) {
  world.setWorkers("connect", {.duration = 100ms});
  happens(SessionEvent::screenUnlocked);
  world.advance(unlockDelay + settled - 1ms);
  EXPECT_TRUE(world.statusTexts.empty());
  world.advance(1s);
  EXPECT_EQ(world.statusTexts, (Texts{"Screen unlock: auto-connecting", "Connecting...", "Asking peer to release...",
                                      "Connecting...", "Connected!"}));
  EXPECT_TRUE(wasAsked(DeviceCommand::pleaseRelease));
}

TEST_F(AutoConnect, anUnlockAfterASleepAsksThePeerWhateverWasUnderWayBefore) {
  world.peer.answer.reset();
  world.network().sendCommand(DeviceCommand::healthCheck, {});
  world.advance(1h);
  world.peer.answer = PeerReply{DeviceCommand::operationSuccess, std::nullopt};
  happens(SessionEvent::systemDidWake);
  happens(SessionEvent::screenUnlocked);
  world.advance(3s);
  EXPECT_TRUE(wasAsked(DeviceCommand::pleaseRelease));
}

TEST_F(AutoConnect, wakesTheDisplayOnce) {
  happens(SessionEvent::screenUnlocked);
  world.advance(3s);
  EXPECT_EQ(world.session.displayWakes, 1);
}

TEST_F(AutoConnect, aReleaseByThePeerIsTakenUpAtOnce) {
  world.setWorkers("connect", {.duration = 100ms});
  world.peer.receive("RELEASED");
  EXPECT_EQ(world.manager().ownershipState(), released);
  world.advance(settled + 500ms);
  EXPECT_EQ(world.statusTexts, (Texts{"Peer released: auto-connecting", "Quick connecting...", "Connected!"}));
  EXPECT_FALSE(wasAsked(DeviceCommand::pleaseRelease));
}

TEST_F(AutoConnect, aReleaseByThePeerIsNotDebounced) {
  happens(SessionEvent::systemDidWake);
  world.advance(wakeDelay);
  world.manager().cancelCurrentOperation();
  world.peer.receive("RELEASED");
  EXPECT_FALSE(logged("Peer released: auto-connect skipped by debounce"));
}

TEST_F(AutoConnect, aReleaseByThePeerDuringAConnectLeavesItAlone) {
  world.manager().connectToThisMac(false);
  world.peer.receive("RELEASED");
  EXPECT_TRUE(logged("Peer released: auto-connect skipped because switching is already in progress"));
  world.advance(5s);
  EXPECT_EQ(world.manager().lastResult(), "Connected!");
  EXPECT_EQ(world.session.displayWakes, 0);
}

// Guards

TEST_F(AutoConnect, switchedOffItOnlyLogs) {
  world.defaults.set(settings::autoConnect, false);
  for (const auto event : {SessionEvent::systemDidWake, SessionEvent::displayDidWake, SessionEvent::screenUnlocked})
    happens(event);
  world.advance(30s);
  for (const auto* reason : {"Launch", "System wake", "Screen wake", "Screen unlock"})
    EXPECT_TRUE(logged(reason + std::string(": auto-connect disabled")));
  EXPECT_TRUE(world.states.empty());
  EXPECT_TRUE(world.statusTexts.empty());
}

TEST_F(AutoConnectNoDevices, onlyLogs) {
  happens(SessionEvent::systemDidWake);
  world.advance(5s);
  EXPECT_TRUE(logged("System wake: auto-connect skipped because no managed devices are configured"));
  EXPECT_TRUE(world.states.empty());
}

TEST_F(AutoConnect, duringAFlowItOnlyLogs) {
  world.setWorkers("unregister", {.duration = 2s});
  world.manager().releaseDevices();
  happens(SessionEvent::screenUnlocked);
  world.advance(unlockDelay);
  EXPECT_TRUE(logged("Screen unlock: auto-connect skipped because switching is already in progress"));
  world.advance(30s);
  EXPECT_EQ(world.manager().ownershipState(), released);
}

TEST_F(AutoConnect, twoWakesFiveSecondsApartCountAsOneButAnUnlockRightAfterCounts) {
  world.haveConnected(2);
  happens(SessionEvent::systemDidWake);
  world.advance(5s);
  happens(SessionEvent::displayDidWake);
  world.advance(wakeDelay);
  EXPECT_TRUE(logged("System wake: auto-connect skipped because devices are already connected"));
  EXPECT_TRUE(logged("Screen wake: auto-connect skipped by debounce"));
  happens(SessionEvent::screenUnlocked);
  world.advance(unlockDelay + settled);
  EXPECT_TRUE(logged("Screen unlock: auto-connect skipped because devices are already connected"));
}

TEST_F(AutoConnect, theDebounceEndsAfterTwelveSeconds) {
  world.haveConnected(2);
  happens(SessionEvent::systemDidWake);
  world.advance(12s - 1ms);
  happens(SessionEvent::displayDidWake);  // evaluated 11.999 s after the other one
  world.advance(1ms);
  happens(SessionEvent::systemDidWake);  // evaluated 12 s after it
  world.advance(5s);
  EXPECT_EQ(world.log.count("Screen wake: auto-connect skipped by debounce"), 1);
  EXPECT_EQ(world.log.count("System wake: auto-connect skipped because devices are already connected"), 2);
}

TEST_F(AutoConnect, anAttemptThatWasStoppedByItsGuardsDebouncesNothing) {
  world.defaults.set(settings::autoConnect, false);
  happens(SessionEvent::systemDidWake);
  world.advance(1s);
  world.enableAutoConnect();
  happens(SessionEvent::displayDidWake);
  world.advance(wakeDelay + settled);
  EXPECT_TRUE(logged("Screen wake: auto-connecting"));
}

// Settling

TEST_F(AutoConnect, decidesByTheThirdReading) {
  happens(SessionEvent::systemDidWake);
  world.advance(wakeDelay + settled - 1ms);
  world.haveConnected(1);
  world.advance(1ms);
  EXPECT_EQ(world.statusTexts,
            (Texts{"System wake: connecting missing devices", "Connecting missing devices...", "Partially connected"}));
}

TEST_F(AutoConnect, withEverythingHereByThenOnlyShowsIt) {
  world.defaults.set(settings::autoRelease, true);
  world.defaults.set(settings::autoReleaseHours, 1.0);
  happens(SessionEvent::systemDidWake);
  world.advance(wakeDelay + settled / 2);
  world.haveConnected(2);
  world.advance(settled);
  EXPECT_EQ(world.states, std::vector{thisMac});
  EXPECT_TRUE(world.statusTexts.empty());
  EXPECT_EQ(world.session.displayWakes, 0);
  EXPECT_TRUE(logged("Auto-release timer started: 1.000000h (3600.000000s)"));
}

TEST_F(AutoConnect, switchedOffWhileSettlingItStopsSilently) {
  happens(SessionEvent::systemDidWake);
  world.advance(wakeDelay);
  world.defaults.set(settings::autoConnect, false);
  const auto lines = world.log.lines().size();
  world.advance(5s);
  EXPECT_TRUE(world.states.empty());
  EXPECT_EQ(world.log.lines().size(), lines);
}

TEST_F(AutoConnect, aFlowThatBeganWhileSettlingGoesOnAlone) {
  world.setWorkers("unregister", {.duration = 3s});
  happens(SessionEvent::systemDidWake);
  world.advance(wakeDelay);
  world.manager().releaseDevices();
  world.advance(4s);
  EXPECT_EQ(world.manager().lastResult(), "Releasing...");
  EXPECT_FALSE(logged("System wake: auto-connecting"));
}

TEST_F(AutoConnectOneDevice, aReleaseByThePeerWhileSettlingStartsNoSecondConnect) {
  world.setWorkers("connect", {.duration = 3s});
  happens(SessionEvent::systemDidWake);
  world.advance(wakeDelay + settled / 2);
  world.peer.receive("RELEASED");
  EXPECT_EQ(world.manager().ownershipState(), released);
  world.advance(20s);
  EXPECT_EQ(world.statusTexts, (Texts{"System wake: auto-connecting", "Quick connecting...", "Connected!"}));
  EXPECT_EQ(world.workers.runs.size(), 1u);
  EXPECT_FALSE(logged("Peer released: auto-connecting"));
}

TEST_F(AutoConnectOneDevice, ofTwoThatSettleAtOnceTheLaterIsRetried) {
  nothingConnects(100ms);
  happens(SessionEvent::systemDidWake);
  world.advance(wakeDelay + settled / 2);
  world.peer.receive("RELEASED");
  world.advance(settled / 2 + 100ms);
  EXPECT_EQ(world.manager().lastResult(), "System wake: retrying...");
  world.advance(settled / 2);
  EXPECT_EQ(world.manager().lastResult(), "Peer released: retrying...");
  world.advance(12s + settled + 100ms);
  EXPECT_TRUE(logged("Peer released retry: auto-connecting"));
  EXPECT_FALSE(logged("System wake retry: auto-connecting"));
  EXPECT_EQ(world.workers.runs.size(), 3u);
}

// Retries

TEST_F(AutoConnectOneDevice, isRetriedTwiceAfterAWake) {
  nothingConnects();
  happens(SessionEvent::systemDidWake);
  world.advance(wakeDelay + settled + 1s);
  EXPECT_EQ(world.manager().lastResult(), "System wake: retrying...");
  EXPECT_EQ(world.manager().ownershipState(), failed);
  EXPECT_TRUE(logged("System wake: scheduling auto-connect retry, remaining=2"));
  world.advance(12s + settled - 1ms);
  EXPECT_EQ(world.workers.runs.size(), 1u);
  world.advance(1ms + 1s);
  EXPECT_TRUE(logged("System wake retry: scheduling auto-connect retry, remaining=1"));
  world.advance(60s);
  EXPECT_EQ(world.workers.runs.size(), 3u);
  EXPECT_EQ(world.manager().lastResult(), "Turn the device off and on, then try again.");
  EXPECT_TRUE(logged("System wake retry retry: auto-connecting"));
  EXPECT_FALSE(wasAsked(DeviceCommand::pleaseRelease));
}

TEST_F(AutoConnectOneDevice, isRetriedFourTimesAfterAnUnlockAskingThePeerEachTime) {
  nothingConnects(100ms);
  happens(SessionEvent::screenUnlocked);
  world.advance(120s);
  std::string reason = "Screen unlock";
  for (int remaining = 4; remaining > 0; --remaining) {
    EXPECT_TRUE(logged(reason + ": scheduling auto-connect retry, remaining=" + std::to_string(remaining)));
    reason += " retry";
  }
  EXPECT_TRUE(logged(reason + ": auto-connecting"));
  EXPECT_FALSE(logged(reason + ": scheduling auto-connect retry, remaining=0"));
  EXPECT_EQ(std::count(world.peer.sent.begin(), world.peer.sent.end(), DeviceCommand::pleaseRelease), 5);
  EXPECT_EQ(world.workers.runs.size(), 10u);  // each attempt falls back once
}

TEST_F(AutoConnectOneDevice, aRetryThatSucceedsEndsIt) {
  nothingConnects(100ms);
  happens(SessionEvent::systemDidWake);
  world.advance(3s);
  world.setWorkers("connect", {});
  world.advance(60s);
  EXPECT_EQ(world.workers.runs.size(), 2u);
  EXPECT_EQ(world.manager().lastResult(), "Connected!");
}

TEST_F(AutoConnect, aPartialResultIsNeverRetried) {
  world.log.expectError("connect: FAILED Magic Keyboard");
  world.workers.set("connect", "A1", {.exitStatus = 1});
  happens(SessionEvent::systemDidWake);
  world.advance(60s);
  EXPECT_EQ(world.manager().lastResult(), "Partially connected");
  EXPECT_EQ(world.workers.runs.size(), 2u);
}

TEST_F(AutoConnectOneDevice, noRetryIsScheduledOnceAutomaticConnectIsOff) {
  nothingConnects();
  happens(SessionEvent::systemDidWake);
  world.advance(wakeDelay + settled + 500ms);
  world.defaults.set(settings::autoConnect, false);
  world.advance(60s);
  EXPECT_EQ(world.workers.runs.size(), 1u);
  EXPECT_EQ(world.manager().lastResult(), "Turn the device off and on, then try again.");
}

TEST_F(AutoConnectOneDevice, aCancelledAttemptIsNotRetried) {
  nothingConnects();
  happens(SessionEvent::systemDidWake);
  world.advance(wakeDelay + settled + 500ms);
  world.manager().cancelCurrentOperation();
  world.advance(60s);
  EXPECT_EQ(world.workers.runs.size(), 1u);
  EXPECT_EQ(world.manager().lastResult(), "Cancelled");
}

/// An automatic connect has failed and its retry is due in 12 s.
class AutoConnectRetry : public AutoConnectOneDevice {
 protected:
  void SetUp() override {
    nothingConnects(100ms);
    happens(SessionEvent::systemDidWake);
    world.advance(2s);
    ASSERT_EQ(world.manager().lastResult(), "System wake: retrying...");
    world.setWorkers("connect", {});
    runsBefore = world.workers.runs.size();
  }

  bool isRetried() {
    world.advance(30s);
    return world.log.contains("System wake retry: auto-connecting") ||
           world.log.contains("System wake retry: auto-connect skipped because devices are already connected");
  }

  std::size_t runsBefore = 0;
};

TEST_F(AutoConnectRetry, happensUnlessSomethingElseDoes) {
  EXPECT_TRUE(isRetried());
}

TEST_F(AutoConnectRetry, isDroppedByAManualConnect) {
  world.manager().connectToThisMac(false);
  EXPECT_FALSE(isRetried());
}

TEST_F(AutoConnectRetry, isDroppedByAQuickConnect) {
  world.manager().forceConnect(false);
  EXPECT_FALSE(isRetried());
}

TEST_F(AutoConnectRetry, isDroppedByAManualRelease) {
  world.manager().releaseDevices();
  EXPECT_FALSE(isRetried());
}

TEST_F(AutoConnectRetry, isDroppedByAReleaseForThePeer) {
  world.peer.receive("PLEASE_RELEASE");
  EXPECT_FALSE(isRetried());
}

TEST_F(AutoConnectRetry, isDroppedWhenThePeerTakesTheDevices) {
  world.peer.receive("CONNECTED");
  EXPECT_FALSE(isRetried());
  EXPECT_EQ(world.manager().lastResult(), "Other Mac has zolvex");
  EXPECT_EQ(world.workers.runs.size(), runsBefore);
}

TEST_F(AutoConnectRetry, isDroppedBySleep) {
  happens(SessionEvent::systemWillSleep);
  EXPECT_FALSE(isRetried());
  EXPECT_EQ(world.manager().lastResult(), "System sleep: released");
}

TEST_F(AutoConnectRetry, isDroppedByTheHotKey) {
  world.manager().handleHotKey();
  EXPECT_FALSE(isRetried());
}

TEST_F(AutoConnectRetry, isDroppedByAChangeOfTheDevices) {
  world.manager().devicesConfigured();
  EXPECT_FALSE(isRetried());
}

TEST_F(AutoConnectRetry, isNotDebounced) {
  world.advance(11s);
  happens(SessionEvent::screenUnlocked);  // an attempt of its own shortly before
  world.store().markDisconnected("A1");
  world.advance(unlockDelay);
  world.advance(30s);
  EXPECT_FALSE(logged("System wake retry: auto-connect skipped by debounce"));
}

// After the devices were chosen

TEST_F(AutoConnect, aNewChoiceOfDevicesAsksThePeerForThem) {
  world.manager().devicesConfigured();
  world.advance(settled);
  EXPECT_EQ(Texts(world.statusTexts.begin(), world.statusTexts.begin() + 3),
            (Texts{"Setup: auto-connecting", "Connecting...", "Asking peer to release..."}));
}

TEST_F(AutoConnectNoPeer, aNewChoiceOfDevicesTakesThem) {
  world.manager().devicesConfigured();
  world.advance(settled);
  EXPECT_EQ(Texts(world.statusTexts.begin(), world.statusTexts.begin() + 2),
            (Texts{"Setup: auto-connecting", "Quick connecting..."}));
}

TEST_F(AutoConnect, aNewChoiceOfDevicesThatArePartlyHereOnlyShowsThem) {
  world.haveConnected(1);
  world.manager().devicesConfigured();
  world.advance(5s);
  EXPECT_EQ(world.statusTexts, Texts{"Partially connected"});
  EXPECT_TRUE(world.workers.runs.empty());
}

TEST_F(AutoConnect, aNewChoiceOfDevicesIsNotDebouncedAndDebouncesNothing) {
  happens(SessionEvent::systemDidWake);
  world.advance(wakeDelay);
  world.manager().devicesConfigured();
  EXPECT_FALSE(logged("Setup: auto-connect skipped by debounce"));
}

}  // namespace
}  // namespace zolvex::test
