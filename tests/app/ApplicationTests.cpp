#include "ZolvexProcess.h"
#include "control/ControlNames.h"
#include "support/ScriptedService.h"

#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QDir>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

/// Sends one frame to a listener on this machine, as a peer does.
bool sendFrame(int port, const std::string& text) {
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  const bool isSent = connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                      write(socket, text.c_str(), text.size() + 1) == static_cast<ssize_t>(text.size() + 1);
  close(socket);
  return isSent;
}

struct ApplicationTest : testing::Test {
  ProgramRun& zolvex() { return *computer.zolvex; }
  std::string log() { return zolvex().errors(); }
  std::string status() {
    auto program = computer.control({u"status"_s});
    EXPECT_EQ(program.exitStatus(), 0) << program.errors();
    return program.output();
  }

  ZolvexProcess computer;
};

TEST_F(ApplicationTest, withoutAnyBusItRunsAndWaits) {
  computer.start();
  ASSERT_TRUE(zolvex().complains("no session bus yet, waiting for it: "));
  ASSERT_TRUE(zolvex().complains("no system bus yet, waiting for it: "));
  EXPECT_EQ(computer.end(), 0);
}

TEST_F(ApplicationTest, takesUpItsServiceWhenTheSessionBusComes) {
  computer.start();
  ASSERT_TRUE(zolvex().complains("no session bus yet"));
  ASSERT_TRUE(computer.sessionBus.start());
  ASSERT_TRUE(zolvex().complains("connected to the session bus"));
  ASSERT_TRUE(computer.isAnswering());
  EXPECT_EQ(computer.end(), 0);
}

TEST_F(ApplicationTest, outlivesTheSystemBus) {
  ASSERT_TRUE(computer.sessionBus.start());
  ASSERT_TRUE(computer.startOnBus());
  ASSERT_TRUE(computer.systemBus.start());
  ASSERT_TRUE(zolvex().complains("connected to the system bus"));
  computer.systemBus.stop();
  ASSERT_TRUE(zolvex().complains("lost the system bus, waiting for it"));
  EXPECT_NE(status().find("State:      unknown"), std::string::npos);
  EXPECT_EQ(computer.end(), 0);
}

TEST_F(ApplicationTest, returnsToASessionBusThatRestarts) {
  ASSERT_TRUE(computer.sessionBus.start());
  ASSERT_TRUE(computer.startOnBus());
  computer.sessionBus.stop();
  ASSERT_TRUE(zolvex().complains("lost the session bus, waiting for it"));
  ASSERT_TRUE(computer.sessionBus.start());
  ASSERT_TRUE(computer.isAnswering());
  EXPECT_EQ(computer.end(), 0);
}

TEST_F(ApplicationTest, aSecondInstanceNamesTheWayToTheFirst) {
  computer.start();
  ASSERT_TRUE(zolvex().complains("Zolvex "));
  ProgramRun second(QStringLiteral(ZOLVEX), {}, computer.variables());
  EXPECT_EQ(second.exitStatus(), 1);
  const auto expected = "zolvex: Zolvex is already running for this user (process " +
                        std::to_string(zolvex().processId()) +
                        "). Control it with zolvexctl, for example: zolvexctl status\n";
  EXPECT_EQ(second.errors(), expected);
  EXPECT_EQ(computer.end(), 0);
}

TEST_F(ApplicationTest, aCrashedInstanceLeavesTheWayFree) {
  computer.start();
  ASSERT_TRUE(zolvex().complains("Zolvex "));
  kill(static_cast<pid_t>(zolvex().processId()), SIGKILL);
  EXPECT_EQ(zolvex().exitStatus(), -1);
  computer.start();
  EXPECT_TRUE(zolvex().complains("Device manager started"));
  EXPECT_EQ(computer.end(), 0);
}

TEST_F(ApplicationTest, endsQuicklyWhileABusNeverAnswers) {
  ASSERT_TRUE(computer.sessionBus.start());
  ASSERT_TRUE(computer.systemBus.start());
  const auto daemon = static_cast<pid_t>(computer.systemBus.processId());
  kill(daemon, SIGSTOP);
  computer.start();
  ASSERT_TRUE(zolvex().complains("Device manager started"));
  EXPECT_EQ(computer.end(), 0);
  kill(daemon, SIGCONT);
}

struct EndTest : ApplicationTest, testing::WithParamInterface<int> {};

TEST_P(EndTest, isOrderlyAndSilent) {
  ASSERT_TRUE(computer.sessionBus.start());
  ASSERT_TRUE(computer.startOnBus());
  kill(static_cast<pid_t>(zolvex().processId()), GetParam());
  EXPECT_EQ(zolvex().exitStatus(), 0);
  const auto last = log().substr(log().rfind("ending on"));
  EXPECT_EQ(last.find('\n'), last.size() - 1) << last;
}

INSTANTIATE_TEST_SUITE_P(Signals, EndTest, testing::Values(SIGTERM, SIGINT, SIGHUP));

TEST_F(ApplicationTest, badArgumentsAreExplained) {
  computer.start({u"--frobnicate"_s});
  EXPECT_EQ(zolvex().exitStatus(), 2);
  EXPECT_TRUE(log().starts_with("zolvex: unknown argument: --frobnicate\nUsage: zolvex")) << log();
}

TEST_F(ApplicationTest, showsHelpAndVersionAndStartsNothing) {
  computer.start({u"--version"_s});
  EXPECT_EQ(zolvex().exitStatus(), 0);
  EXPECT_TRUE(zolvex().output().starts_with("zolvex ")) << zolvex().output();
  computer.start({u"--help"_s});
  EXPECT_EQ(zolvex().exitStatus(), 0);
  EXPECT_TRUE(zolvex().output().starts_with("Usage: zolvex"));
  EXPECT_FALSE(QDir(computer.directory.filePath(u"zolvex"_s)).exists());
}

TEST_F(ApplicationTest, aWorkerFlagBehindAnotherArgumentStartsTheApplication) {
  computer.start({u"anything"_s, u"--zolvex-bluetooth-worker"_s, u"listPaired"_s});
  EXPECT_TRUE(zolvex().complains("Device manager started"));
  EXPECT_EQ(computer.end(), 0);
}

TEST_F(ApplicationTest, garbageForSettingsStaysUntilASettingIsChanged) {
  const QByteArray garbage = "{\"autoConnect\": tru";
  const auto keptAside = [this] {
    return QDir(computer.directory.filePath(u"zolvex"_s)).entryList({u"*.damaged-*"_s}).size();
  };
  computer.writeSettings(garbage);
  ASSERT_TRUE(computer.sessionBus.start());
  ASSERT_TRUE(computer.startOnBus());
  EXPECT_NE(log().find("the settings file " + computer.settingsFile().toStdString() + " is no JSON"),
            std::string::npos);
  auto settings = computer.control({u"settings"_s, u"--json"_s});
  EXPECT_EQ(settings.exitStatus(), 0);
  EXPECT_EQ(settings.output(),
            "{\"autoConnect\":true,\"autoRelease\":true,\"autoReleaseHours\":-1,\"globalHotkeyEnabled\":true,"
            "\"launchAtLogin\":false,\"transportMode\":\"bluetooth\"}\n");
  EXPECT_EQ(keptAside(), 0);
  EXPECT_EQ(computer.control({u"settings"_s, u"autoConnect"_s, u"off"_s}).exitStatus(), 0);
  EXPECT_EQ(keptAside(), 1);
  EXPECT_EQ(computer.end(), 0);
}

TEST_F(ApplicationTest, keepsItsIdentityBesideAValueOfAWrongType) {
  const auto stored = [this] {
    QFile file(computer.settingsFile());
    return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object() : QJsonObject();
  };
  computer.writeSettings(R"({"autoRelease": "yes", "transportMode": "bonjour"})");
  computer.start();
  ASSERT_TRUE(runUntil([&] { return stored().contains(u"peerIdentityID"_s); }));
  const auto first = stored();
  EXPECT_EQ(first[u"autoRelease"_s], u"yes"_s);
  EXPECT_EQ(computer.end(), 0);
  computer.start();
  ASSERT_TRUE(zolvex().complains("Listener ready: Port "));
  EXPECT_EQ(computer.end(), 0);
  EXPECT_EQ(stored(), first);
}

TEST_F(ApplicationTest, loadsTheManagedDevicesAndThePeer) {
  computer.writeSettings(R"({"managedDeviceAddresses": ["A1", "A2"], "deviceNames": {"A1": "Magic Mouse"},
    "transportMode": "bonjour", "networkDevices": "[{\"id\":\"ABC123\",\"name\":\"Laptop\",\"host\":\"127.0.0.1\",)"
                         R"(\"port\":1,\"lastUpdated\":0,\"isActive\":false}]"})");
  ASSERT_TRUE(computer.sessionBus.start());
  ASSERT_TRUE(computer.startOnBus());
  EXPECT_NE(log().find("loaded 2 managed Bluetooth devices"), std::string::npos);
  const auto shown = status();
  EXPECT_NE(shown.find("Peer:       ABC123  Laptop, 127.0.0.1 port 1, waiting\nTransport:  bonjour\n"),
            std::string::npos)
      << shown;
  EXPECT_NE(shown.find("  A1  Magic Mouse, not connected\n  A2  A2, not connected\n"), std::string::npos) << shown;
  EXPECT_EQ(computer.end(), 0);
}

TEST_F(ApplicationTest, aSettingChangedInTheFileIsInEffectAtOnce) {
  ASSERT_TRUE(computer.sessionBus.start());
  ASSERT_TRUE(computer.startOnBus());
  computer.writeSettings(R"({"autoConnect": false})");
  EXPECT_TRUE(runUntil([&] {
    auto program = computer.control({u"settings"_s, u"autoConnect"_s});
    return program.exitStatus() == 0 && program.output() == "false\n";
  }));
  EXPECT_EQ(computer.end(), 0);
}

TEST_F(ApplicationTest, aTransportChangedInTheFileIsTheRunningOneSoon) {
  ASSERT_TRUE(computer.sessionBus.start());
  ASSERT_TRUE(computer.startOnBus());
  EXPECT_NE(log().find("Starting BLE transport"), std::string::npos);
  EXPECT_EQ(log().find("Listener ready"), std::string::npos);
  computer.writeSettings(R"({"transportMode": "bonjour"})");
  EXPECT_TRUE(zolvex().complains("Listener ready: Port "));
  EXPECT_EQ(computer.end(), 0);
}

TEST_F(ApplicationTest, withoutBluezAListingIsEmptyAndASwitchEndsBadly) {
  computer.writeSettings(R"({"managedDeviceAddresses": ["AA-BB-CC-DD-EE-01"]})");
  ASSERT_TRUE(computer.sessionBus.start());
  ASSERT_TRUE(computer.systemBus.start());
  ASSERT_TRUE(computer.startOnBus());
  EXPECT_EQ(computer.control({u"devices"_s}).exitStatus(), 0);
  auto program = computer.control({u"switch"_s, u"--wait"_s});
  EXPECT_EQ(program.exitStatus(), 1);
  EXPECT_TRUE(program.output().ends_with("failed: Turn the device off and on, then try again.\n")) << program.output();
  EXPECT_EQ(computer.end(), 0);
}

TEST_F(ApplicationTest, endsQuicklyWhileAWorkerHangs) {
  computer.writeSettings(R"({"managedDeviceAddresses": ["AA-BB-CC-DD-EE-01", "AA-BB-CC-DD-EE-02"]})");
  ASSERT_TRUE(computer.sessionBus.start());
  ASSERT_TRUE(computer.systemBus.start());
  // A Bluetooth daemon that never answers: the worker hangs in its first call.
  ScriptedService bluez(computer.systemBus.address(), u"org.bluez"_s,
                        [](const QDBusMessage&) { return QDBusMessage(); });
  ASSERT_TRUE(computer.startOnBus());
  EXPECT_EQ(computer.control({u"switch"_s}).exitStatus(), 0);
  ASSERT_TRUE(runUntil([&] { return !bluez.calls().empty(); }));
  QElapsedTimer timer;
  timer.start();
  EXPECT_EQ(computer.end(), 0);
  EXPECT_LT(timer.elapsed(), 5'000);
  EXPECT_TRUE(runUntil([&] {  // and no worker is left on the bus
    const auto gone = bluez.connection().call(QDBusMessage::createMethodCall(
        bluez.calls().front().service(), u"/"_s, u"org.freedesktop.DBus.Peer"_s, u"Ping"_s));
    return gone.errorName() == u"org.freedesktop.DBus.Error.ServiceUnknown"_s ||
           gone.errorName() == u"org.freedesktop.DBus.Error.NameHasNoOwner"_s;
  }));
}

TEST_F(ApplicationTest, killedInTheMiddleOfASwitchItEndsWhoWaitsForIt) {
  computer.writeSettings(R"({"managedDeviceAddresses": ["AA-BB-CC-DD-EE-01"], "autoConnect": false})");
  ASSERT_TRUE(computer.sessionBus.start());
  ASSERT_TRUE(computer.systemBus.start());
  const ScriptedService bluez(computer.systemBus.address(), u"org.bluez"_s,
                              [](const QDBusMessage&) { return QDBusMessage(); });
  ASSERT_TRUE(computer.startOnBus());
  auto waiting = computer.control({u"quick-connect"_s, u"--wait"_s});
  ASSERT_TRUE(waiting.prints("Quick connecting..."));
  ::kill(static_cast<pid_t>(zolvex().processId()), SIGKILL);
  EXPECT_EQ(waiting.exitStatus(), 3);
  EXPECT_EQ(waiting.errors(), "zolvexctl: Zolvex is not running. Start it with: zolvex\n");
}

TEST_F(ApplicationTest, endsSilentlyInTheMiddleOfASwitch) {
  computer.writeSettings(
      R"({"managedDeviceAddresses": ["AA-BB-CC-DD-EE-01", "AA-BB-CC-DD-EE-02", "AA-BB-CC-DD-EE-03"]})");
  ASSERT_TRUE(computer.sessionBus.start());
  ASSERT_TRUE(computer.systemBus.start());
  ScriptedService bluez(computer.systemBus.address(), u"org.bluez"_s,
                        [](const QDBusMessage&) { return QDBusMessage(); });
  ASSERT_TRUE(computer.startOnBus());
  EXPECT_EQ(computer.control({u"switch"_s}).exitStatus(), 0);
  ASSERT_TRUE(runUntil([&] { return !bluez.calls().empty(); }));
  EXPECT_EQ(computer.end(), 0);
  const auto last = log().substr(log().rfind("ending on"));
  EXPECT_EQ(last.find('\n'), last.size() - 1) << last;
}

TEST_F(ApplicationTest, endsWithoutReleasingTheDevices) {
  computer.writeSettings(R"({"managedDeviceAddresses": ["AA-BB-CC-DD-EE-01"], "autoConnect": false})");
  ASSERT_TRUE(computer.sessionBus.start());
  ASSERT_TRUE(computer.systemBus.start());
  ScriptedService bluez(computer.systemBus.address(), u"org.bluez"_s,
                        [](const QDBusMessage&) { return QDBusMessage(); });
  ASSERT_TRUE(computer.startOnBus());
  EXPECT_EQ(computer.end(), 0);
  EXPECT_TRUE(bluez.calls().empty());
}

TEST_F(ApplicationTest, answersAThousandPropertyReads) {
  ASSERT_TRUE(computer.sessionBus.start());
  ASSERT_TRUE(computer.startOnBus());
  auto connection = QDBusConnection::connectToBus(computer.sessionBus.address(), u"reader"_s);
  auto read =
      QDBusMessage::createMethodCall(control::serviceName, control::objectPath, control::propertiesInterface, u"Get"_s);
  read << QString(control::interfaceName) << u"OwnershipState"_s;
  for (int i = 0; i < 1000; ++i) {
    const auto reply = connection.call(read);
    ASSERT_EQ(reply.arguments().value(0).value<QDBusVariant>().variant(), QVariant(u"unknown"_s))
        << reply.errorMessage().toStdString();
  }
  QDBusConnection::disconnectFromBus(u"reader"_s);
  EXPECT_EQ(computer.end(), 0);
}

TEST_F(ApplicationTest, notifiesOnTheDesktop) {
  computer.writeSettings(R"({"managedDeviceAddresses": ["A1"], "transportMode": "bonjour",
    "networkDevices": "[{\"id\":\"ABC123\",\"name\":\"Laptop\",\"lastUpdated\":0,\"isActive\":false}]"})");
  ASSERT_TRUE(computer.sessionBus.start());
  ScriptedService desktop(computer.sessionBus.address(), u"org.freedesktop.Notifications"_s,
                          [](const QDBusMessage& call) { return call.createReply(1u); });
  ASSERT_TRUE(computer.startOnBus());
  ASSERT_TRUE(zolvex().complains("Listener ready: Port "));
  const auto ready = log().substr(log().find("Listener ready: Port ") + 21);
  ASSERT_TRUE(sendFrame(std::stoi(ready), "CONNECTED"));
  ASSERT_TRUE(runUntil([&] { return !desktop.calls().empty(); }));
  EXPECT_EQ(desktop.calls().front().arguments().value(3).toString(), u"A1 moved to Laptop"_s);
  EXPECT_NE(status().find("State:      otherMac\nStatus:     Other Mac has zolvex\n"), std::string::npos);
  EXPECT_EQ(computer.end(), 0);
}

}  // namespace
}  // namespace zolvex::test
