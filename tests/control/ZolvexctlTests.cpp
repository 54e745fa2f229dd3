#include "ControlWorld.h"
#include "core/SettingsKeys.h"
#include "support/ProgramRun.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

#include <csignal>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

/// The real zolvexctl against the real service, with time and devices in the test's hands.
struct ZolvexctlTest : testing::Test {
  void SetUp() override { ASSERT_TRUE(computer.isReady()); }

  ProgramRun start(const QStringList& arguments) {
    return ProgramRun(QStringLiteral(ZOLVEXCTL), arguments,
                      {{u"DBUS_SESSION_BUS_ADDRESS"_s, computer.bus.address()}, {u"LC_ALL"_s, u"C.UTF-8"_s}});
  }
  /// Runs it to its end; what it makes due now is done.
  int run(const QStringList& arguments) {
    auto program = start(arguments);
    EXPECT_TRUE(runUntil([&] { return world.runUntilIdle(), program.isEnded(); }));
    output = program.output();
    errors = program.errors();
    return program.exitStatus();
  }
  /// Runs it to its end while virtual time passes.
  int runThrough(const QStringList& arguments) {
    auto program = start(arguments);
    EXPECT_TRUE(runUntil([&] { return world.advance(Seconds(0.05)), program.isEnded(); }));
    output = program.output();
    errors = program.errors();
    return program.exitStatus();
  }
  void stopBus() {
    world.log.expectError("lost the session bus");
    computer.bus.stop();
    ASSERT_TRUE(runUntil([&] { return !computer.link.isConnected(); }));
  }
  QJsonObject json() const { return QJsonDocument::fromJson(QByteArray::fromStdString(output)).object(); }

  ControlWorld computer;
  World& world = computer.world;
  std::string output;
  std::string errors;
};

TEST_F(ZolvexctlTest, statusShowsWhoHasTheDevices) {
  world.haveConnected(1);
  EXPECT_EQ(run({u"status"_s}), 0);
  EXPECT_EQ(output,
            "State:      unknown\n"
            "Switching:  no\n"
            "Peer:       ABC123  ABC123, 192.0.2.7 port 4711, waiting\n"
            "Transport:  bonjour\n"
            "Devices:\n"
            "  A1  Magic Keyboard, connected\n"
            "  A2  Magic Trackpad, not connected\n");
  EXPECT_EQ(errors, "");
}

TEST_F(ZolvexctlTest, statusDisturbsNothingUnlessToldTo) {
  EXPECT_EQ(run({u"status"_s}), 0);
  EXPECT_TRUE(world.statusTexts.empty());
  EXPECT_EQ(run({u"status"_s, u"--refresh"_s}), 0);
  EXPECT_EQ(world.statusTexts, std::vector<std::string>{"Not connected"});
  EXPECT_NE(output.find("State:      released\nStatus:     Not connected\n"), std::string::npos) << output;
}

TEST_F(ZolvexctlTest, statusSpeaksJson) {
  EXPECT_EQ(run({u"status"_s, u"--json"_s}), 0);
  EXPECT_EQ(json()[u"ownershipState"_s], u"unknown"_s);
  EXPECT_EQ(json()[u"isSwitching"_s], false);
  EXPECT_EQ(json()[u"devices"_s].toArray().size(), 2);
  const auto peer = json()[u"registeredPeers"_s].toArray()[0].toObject();
  EXPECT_EQ(peer[u"id"_s], u"ABC123"_s);
  EXPECT_EQ(peer[u"port"_s], 4711);
  EXPECT_TRUE(peer[u"lastReachable"_s].isNull());
}

TEST_F(ZolvexctlTest, namesFromOutsideCannotReachTheTerminal) {
  world.defaults.set(settings::deviceNames, StringDictionary{{"A1", "\x1b[2Jevil"}});
  world.store().reload();
  EXPECT_EQ(run({u"status"_s}), 0);
  EXPECT_NE(output.find("A1  \\x1b[2Jevil"), std::string::npos) << output;
}

TEST_F(ZolvexctlTest, errorsFromOutsideCannotReachTheTerminal) {
  world.defaults.problem = "\x1b[2Jevil";
  EXPECT_EQ(run({u"remove-peer"_s}), 1);
  EXPECT_TRUE(errors.ends_with("it cannot be saved: \\x1b[2Jevil\n")) << errors;
}

TEST_F(ZolvexctlTest, switchReturnsWhenItHasBegun) {
  EXPECT_EQ(run({u"switch"_s}), 0);
  EXPECT_EQ(output, "Asking peer to release...\n");
  EXPECT_TRUE(world.manager().isSwitching());
}

TEST_F(ZolvexctlTest, switchWaitsAndTellsTheOutcome) {
  EXPECT_EQ(runThrough({u"switch"_s, u"--wait"_s}), 0);
  EXPECT_EQ(output, "Connecting...\nAsking peer to release...\nConnecting...\nConnected!\nthisMac: Connected!\n");
}

TEST_F(ZolvexctlTest, aSwitchThatFailsTwiceEndsBadly) {
  for (const auto* name : {"Magic Keyboard", "Magic Trackpad"})
    world.log.expectError(std::string("connect: FAILED ") + name);
  world.setWorkers("connect", {.exitStatus = 1});
  EXPECT_EQ(runThrough({u"switch"_s, u"--wait"_s}), 1);
  EXPECT_NE(output.find("Connect failed. Quick connecting...\n"), std::string::npos) << output;
  EXPECT_TRUE(output.ends_with("failed: Turn the device off and on, then try again.\n")) << output;
}

TEST_F(ZolvexctlTest, partlyIsGoodEnough) {
  world.haveConnected(1);
  EXPECT_EQ(runThrough({u"quick-connect"_s, u"--missing"_s, u"--wait"_s}), 0);
  EXPECT_TRUE(output.ends_with("partiallyThisMac: Partially connected\n")) << output;
}

TEST_F(ZolvexctlTest, whatIsHereAlreadyIsDone) {
  world.haveConnected(2);
  EXPECT_EQ(run({u"switch"_s}), 0);
  EXPECT_EQ(output, "thisMac: Already connected\n");
}

TEST_F(ZolvexctlTest, quickConnectAsksNobody) {
  EXPECT_EQ(runThrough({u"quick-connect"_s, u"--wait"_s}), 0);
  EXPECT_TRUE(output.starts_with("Quick connecting...\n")) << output;
}

TEST_F(ZolvexctlTest, releaseLetsGo) {
  EXPECT_EQ(runThrough({u"release"_s, u"--wait"_s}), 0);
  EXPECT_EQ(output, "Releasing...\nReleased. Pair on other Mac\nreleased: Released. Pair on other Mac\n");
}

TEST_F(ZolvexctlTest, aFailedReleaseEndsBadly) {
  for (const auto* name : {"Magic Keyboard", "Magic Trackpad"})
    world.log.expectError(std::string("unregister: failed ") + name);
  world.log.expectError("Release: not all devices disconnected");
  world.setWorkers("unregister", {.exitStatus = 70});
  EXPECT_EQ(runThrough({u"release"_s, u"--wait"_s, u"--json"_s}), 1);
  EXPECT_EQ(json()[u"ownershipState"_s], u"failed"_s);
  EXPECT_EQ(json()[u"lastResult"_s], u"Release may have failed"_s);
}

TEST_F(ZolvexctlTest, aRunningFlowRefusesAnother) {
  world.manager().releaseDevices();
  EXPECT_EQ(
      [&] {
        auto program = start({u"switch"_s, u"--wait"_s});
        const auto status = program.exitStatus();
        errors = program.errors();
        return status;
      }(),
      1);
  EXPECT_EQ(errors,
            "zolvexctl: The devices are being moved already: Releasing...\n"
            "Follow it with \"zolvexctl watch\", or stop it with \"zolvexctl cancel\".\n");
}

TEST_F(ZolvexctlTest, waitingHasAnEnd) {
  world.setWorkers("connect", {.hangs = true});
  auto program = start({u"quick-connect"_s, u"--wait=0.2"_s});
  EXPECT_EQ(program.exitStatus(), 1);
  EXPECT_EQ(program.errors(), "zolvexctl: It has not ended after 0.2 s. Follow it with: zolvexctl watch\n");
}

TEST_F(ZolvexctlTest, aCancelledSwitchEndsBadly) {
  world.peer.answer = std::nullopt;
  auto program = start({u"switch"_s, u"--wait"_s});
  ASSERT_TRUE(program.prints("Asking peer to release..."));
  EXPECT_EQ(run({u"cancel"_s}), 0);
  EXPECT_EQ(output, "Cancelled\n");
  EXPECT_EQ(program.exitStatus(), 1);
  EXPECT_TRUE(program.output().ends_with("released: Cancelled\n")) << program.output();
}

TEST_F(ZolvexctlTest, aCancelledReleaseEndsBadlyAlsoWhereNothingWasConnected) {
  world.log.expectError("Bluetooth worker timed out during unregister");
  world.setWorkers("unregister", {.hangs = true});
  auto program = start({u"release"_s, u"--wait"_s});
  ASSERT_TRUE(program.prints("Releasing..."));
  EXPECT_EQ(run({u"cancel"_s}), 0);
  EXPECT_EQ(program.exitStatus(), 1);
  EXPECT_TRUE(program.output().ends_with("released: Cancelled\n")) << program.output();
}

TEST_F(ZolvexctlTest, cancelWithoutAFlowIsFine) {
  EXPECT_EQ(run({u"cancel"_s}), 0);
  EXPECT_EQ(output, "Nothing is running.\n");
}

TEST_F(ZolvexctlTest, devicesAreListedManagedOnesFirst) {
  EXPECT_EQ(run({u"devices"_s}), 0);
  EXPECT_EQ(output,
            "* A1  Magic Keyboard, connected\n"
            "  C3  Headset, not connected\n"
            "  B2  magic mouse, not connected\n");
  EXPECT_EQ(run({u"devices"_s, u"--json"_s}), 0);
  const auto devices = QJsonDocument::fromJson(QByteArray::fromStdString(output)).array();
  ASSERT_EQ(devices.size(), 3);
  EXPECT_EQ(devices[0].toObject()[u"isManaged"_s], true);
}

TEST_F(ZolvexctlTest, noPairedDevicesIsExplained) {
  computer.setPaired({});
  EXPECT_EQ(run({u"devices"_s}), 0);
  EXPECT_TRUE(output.starts_with("No paired Bluetooth devices found\n")) << output;
}

TEST_F(ZolvexctlTest, manageSavesTheChoice) {
  EXPECT_EQ(run({u"manage"_s, u"B2"_s, u"A1"_s}), 0);
  EXPECT_EQ(output, "The choice of devices is saved.\n");
  EXPECT_EQ(world.defaults.stringArray(settings::managedDeviceAddresses), (StringArray{"B2", "A1"}));
}

TEST_F(ZolvexctlTest, manageExplainsARefusal) {
  EXPECT_EQ(run({u"manage"_s, u"B9"_s}), 1);
  EXPECT_EQ(errors,
            "zolvexctl: B9 is not paired with this computer.\n"
            "Pair it first; \"zolvexctl devices\" lists the paired devices.\n");
  world.network().removePeer();
  EXPECT_EQ(run({u"manage"_s, u"A1"_s}), 1);
  EXPECT_EQ(
      errors,
      "zolvexctl: Add your peer Mac to finish setup.\nSee \"zolvexctl peers\", then \"zolvexctl add-peer ID\".\n");
}

TEST_F(ZolvexctlTest, peersAreAddedAndRemoved) {
  auto found = peerRecord(world.time.now());
  found.id = "DEF456";
  world.peer.discover(found);
  EXPECT_EQ(run({u"peers"_s}), 0);
  EXPECT_EQ(output,
            "Peer:\n  ABC123  ABC123, 192.0.2.7 port 4711, waiting\n"
            "Found:\n  DEF456  ABC123, 192.0.2.7 port 4711, waiting\nAdd one with: zolvexctl add-peer ID\n");
  EXPECT_EQ(run({u"add-peer"_s, u"def456"_s}), 0);
  EXPECT_EQ(output, "The peer is added.\n");
  EXPECT_EQ(world.network().registeredPeer()->id, "DEF456");
  EXPECT_EQ(run({u"remove-peer"_s}), 0);
  EXPECT_EQ(run({u"remove-peer"_s}), 1);
  EXPECT_EQ(errors, "zolvexctl: No peer added\n");
  EXPECT_EQ(run({u"add-peer"_s, u"nobody"_s}), 1);
  EXPECT_TRUE(errors.starts_with("zolvexctl: No computer with the ID nobody is to be seen.\n")) << errors;
  EXPECT_EQ(run({u"peers"_s, u"--json"_s}), 0);
  EXPECT_TRUE(json()[u"registeredPeers"_s].toArray().isEmpty());
}

TEST_F(ZolvexctlTest, whatCannotBeSavedIsNoSuccess) {
  auto found = peerRecord(world.time.now());
  found.id = "DEF456";
  world.peer.discover(found);
  world.defaults.problem = "it is read-only";
  const std::vector<QStringList> changes{{u"add-peer"_s, u"DEF456"_s},
                                         {u"manage"_s, u"B2"_s},
                                         {u"remove-peer"_s},
                                         {u"transport"_s, u"bluetooth"_s},
                                         {u"settings"_s, u"autoConnect"_s, u"off"_s}};
  for (const auto& change : changes) {
    EXPECT_EQ(run(change), 1) << change.join(u' ').toStdString();
    EXPECT_EQ(output, "");
    EXPECT_EQ(errors, "zolvexctl: The change counts until Zolvex ends, it cannot be saved: it is read-only\n");
  }
}

TEST_F(ZolvexctlTest, theRegisteredPeerIsNotOfferedAgainWhenItIsFoundAgain) {
  world.peer.discover(peerRecord(world.time.now()));
  ASSERT_FALSE(world.network().discoveredNetworkDevices().empty());
  EXPECT_EQ(run({u"peers"_s}), 0);
  EXPECT_TRUE(output.starts_with("Peer:\n  ABC123  ")) << output;
  EXPECT_EQ(output.find("Found:"), std::string::npos) << output;
}

TEST_F(ZolvexctlTest, theTransportIsOneOfTwo) {
  EXPECT_EQ(run({u"transport"_s, u"bluetooth"_s}), 0);
  EXPECT_EQ(world.network().transportMode(), "bluetooth");
  EXPECT_EQ(run({u"transport"_s, u"pigeon"_s}), 2);
  EXPECT_EQ(errors, "zolvexctl: The transport is either bluetooth or bonjour.\nSee: zolvexctl transport --help\n");
}

TEST_F(ZolvexctlTest, settingsAreShownAndChanged) {
  EXPECT_EQ(run({u"settings"_s, u"autoReleaseHours"_s, u"5 min"_s}), 0);
  EXPECT_EQ(run({u"settings"_s, u"autoRelease"_s, u"on"_s}), 0);
  EXPECT_EQ(world.defaults.boolean(settings::autoRelease), true);
  EXPECT_EQ(run({u"settings"_s, u"autoRelease"_s}), 0);
  EXPECT_EQ(output, "true\n");
  EXPECT_EQ(run({u"settings"_s, u"transportMode"_s, u"--json"_s}), 0);
  EXPECT_EQ(output, "\"bonjour\"\n");
  EXPECT_EQ(run({u"settings"_s}), 0);
  EXPECT_NE(output.find("autoRelease = true\n"), std::string::npos);
  EXPECT_EQ(run({u"settings"_s, u"--json"_s}), 0);
  EXPECT_EQ(json().size(), 6);
}

TEST_F(ZolvexctlTest, aChangeSpeaksJson) {
  EXPECT_EQ(run({u"settings"_s, u"autoRelease"_s, u"off"_s, u"--json"_s}), 0);
  EXPECT_EQ(output, "false\n");
  EXPECT_EQ(run({u"settings"_s, u"transportMode"_s, u"bluetooth"_s, u"--json"_s}), 0);
  EXPECT_EQ(output, "\"bluetooth\"\n");
  EXPECT_EQ(run({u"settings"_s, u"autoReleaseHours"_s, u"8 hours"_s, u"--json"_s}), 0);
  EXPECT_EQ(output, "8\n");
}

TEST_F(ZolvexctlTest, badSettingsAreExplained) {
  EXPECT_EQ(run({u"settings"_s, u"nothing"_s}), 2);
  EXPECT_EQ(errors, "zolvexctl: There is no setting of that name. See: zolvexctl settings\n");
  EXPECT_EQ(run({u"settings"_s, u"nothing"_s, u"on"_s}), 2);
  EXPECT_EQ(errors, "zolvexctl: There is no setting of that name.\n");
  EXPECT_EQ(run({u"settings"_s, u"transportMode"_s, u"pigeon"_s, u"--json"_s}), 2);
  EXPECT_EQ(output, "");
  EXPECT_EQ(errors, "zolvexctl: The transport is either bluetooth or bonjour.\n");
  EXPECT_EQ(run({u"settings"_s, u"autoRelease"_s, u"maybe"_s}), 2);
  EXPECT_EQ(errors, "zolvexctl: autoRelease takes true or false.\n");
  EXPECT_EQ(run({u"settings"_s, u"networkDevices"_s, u"[]"_s}), 2);
  EXPECT_EQ(errors, "zolvexctl: networkDevices is not set directly. Choose the peer with: zolvexctl add-peer ID\n");
}

TEST_F(ZolvexctlTest, watchShowsChangesAsTheyHappen) {
  auto program = start({u"watch"_s, u"--json"_s});
  ASSERT_TRUE(program.prints("\"ownershipState\":\"unknown\""));
  world.manager().refreshFromLiveState();
  EXPECT_TRUE(program.prints("{\"ownershipState\":\"released\"}\n{\"lastResult\":\"Not connected\"}\n"));
}

TEST_F(ZolvexctlTest, watchShowsWhatIsDecidedAndWhy) {
  auto lines = start({u"watch"_s});
  auto json = start({u"watch"_s, u"--json"_s});
  ASSERT_TRUE(lines.prints("Devices:"));
  ASSERT_TRUE(json.prints("\"ownershipState\":\"unknown\""));
  world.session.happens(SessionEvent::screenLocked);
  EXPECT_TRUE(lines.prints(" DeviceManager: Screen lock: inactive release skipped by auto-release settings\n"));
  EXPECT_TRUE(
      json.prints("{\"logged\":{\"category\":\"DeviceManager\",\"message\":"
                  "\"Screen lock: inactive release skipped by auto-release settings\"}}\n"));
}

TEST_F(ZolvexctlTest, watchShowsLongLinesToTheirEnd) {
  world.enableAutoConnect();
  world.haveConnected(2);
  auto lines = start({u"watch"_s});
  ASSERT_TRUE(lines.prints("Devices:"));
  world.session.happens(SessionEvent::screenUnlocked);
  EXPECT_TRUE(runUntil([&] {
    world.advance(Seconds(0.05));
    return lines.output().find(
               " DeviceManager: Screen unlock: auto-connect skipped because devices are already "
               "connected\n") != std::string::npos;
  }));
}

TEST_F(ZolvexctlTest, watchEndsWithZolvex) {
  auto program = start({u"watch"_s});
  ASSERT_TRUE(program.prints("Devices:"));
  world.haveConnected(1);
  EXPECT_TRUE(program.prints("Devices: \n  A1  Magic Keyboard, connected\n"));
  stopBus();
  EXPECT_EQ(program.exitStatus(), 3);
  EXPECT_EQ(program.errors(), "zolvexctl: Zolvex has ended.\n");
}

TEST_F(ZolvexctlTest, watchEndsWhenItsOutputCannotBeWritten) {
  ProgramRun program(u"/bin/sh"_s, {u"-c"_s, u"exec \"$0\" watch > /dev/full"_s, QStringLiteral(ZOLVEXCTL)},
                     {{u"DBUS_SESSION_BUS_ADDRESS"_s, computer.bus.address()}});
  EXPECT_EQ(program.exitStatus(), 1);
  EXPECT_EQ(program.errors(), "zolvexctl: cannot write the output\n");
}

TEST_F(ZolvexctlTest, watchEndsWhenItsReaderIsGone) {
  const auto script = u"trap '' PIPE; { \"$0\" watch; echo $? >&2; } | read line"_s;
  ProgramRun program(u"/bin/sh"_s, {u"-c"_s, script, QStringLiteral(ZOLVEXCTL)},
                     {{u"DBUS_SESSION_BUS_ADDRESS"_s, computer.bus.address()}});
  ASSERT_TRUE(runUntil([&] {
    world.manager().refreshFromLiveState();
    return program.isEnded();
  }));
  EXPECT_EQ(program.errors(), "zolvexctl: cannot write the output\n1\n");
}

TEST_F(ZolvexctlTest, waitingEndsWithZolvex) {
  world.peer.answer = std::nullopt;
  auto program = start({u"switch"_s, u"--wait"_s});
  ASSERT_TRUE(program.prints("Asking peer to release..."));
  stopBus();
  EXPECT_EQ(program.exitStatus(), 3);
}

struct ZolvexctlAloneTest : testing::TestWithParam<const char*> {
  int run(const QString& address) {
    auto arguments = QString::fromLatin1(GetParam()).split(u' ');
    ProgramRun program(QStringLiteral(ZOLVEXCTL), arguments,
                       {{u"DBUS_SESSION_BUS_ADDRESS"_s, address}, {u"XDG_RUNTIME_DIR"_s, u""_s}});
    const int status = program.exitStatus();
    errors = program.errors();
    return status;
  }
  std::string errors;
};

TEST_P(ZolvexctlAloneTest, saysThatZolvexIsNotRunning) {
  lab::PrivateBus bus;
  ASSERT_TRUE(bus.start());
  EXPECT_EQ(run(bus.address()), 3);
  EXPECT_EQ(errors, "zolvexctl: Zolvex is not running. Start it with: zolvex\n");
}

TEST_P(ZolvexctlAloneTest, saysThatThereIsNoSession) {
  EXPECT_EQ(run(u""_s), 3);
  EXPECT_TRUE(errors.starts_with("zolvexctl: Zolvex is not running: there is no session bus.")) << errors;
  EXPECT_EQ(run(u"unix:path=/nonexistent/bus"_s), 3);
}

TEST(ZolvexctlOutputTest, outputThatCannotBeWrittenIsAFailure) {
  ProgramRun program(u"/bin/sh"_s, {u"-c"_s, u"exec \"$0\" --help > /dev/full"_s, QStringLiteral(ZOLVEXCTL)});
  EXPECT_EQ(program.exitStatus(), 1);
  EXPECT_EQ(program.errors(), "zolvexctl: cannot write the output\n");
}

TEST(ZolvexctlBusTest, aBusThatNeverAnswersIsNotWaitedFor) {
  lab::PrivateBus bus;
  ASSERT_TRUE(bus.start());
  const auto daemon = static_cast<pid_t>(bus.processId());
  kill(daemon, SIGSTOP);
  ProgramRun program(QStringLiteral(ZOLVEXCTL), {u"status"_s}, {{u"DBUS_SESSION_BUS_ADDRESS"_s, bus.address()}});
  EXPECT_EQ(program.exitStatus(), 3);
  EXPECT_TRUE(program.errors().starts_with("zolvexctl: Zolvex is not running: there is no session bus."));
  kill(daemon, SIGCONT);
}

INSTANTIATE_TEST_SUITE_P(Commands, ZolvexctlAloneTest,
                         testing::Values("status", "status --refresh", "switch", "switch --wait", "quick-connect",
                                         "release --wait", "cancel", "devices", "manage A1", "peers", "add-peer X",
                                         "remove-peer", "transport bonjour", "settings", "settings a b", "show",
                                         "watch"));

}  // namespace
}  // namespace zolvex::test
