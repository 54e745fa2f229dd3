#include "lab/BusClient.h"
#include "lab/ProgramRun.h"

#include <QDBusConnectionInterface>

namespace zolvex::lab {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class BluezDaemonTest : public BluezTest {
 protected:
  BluezDaemonTest() : BluezTest({.latency = 10ms, .restartPause = 50ms}) {}

  bool isOnTheBus() { return client->connection().interface()->isServiceRegistered(u"org.bluez"_s); }
};

TEST_F(BluezDaemonTest, absentDaemonComesWhenTheFaultIsLifted) {
  EXPECT_TRUE(isOnTheBus());
  radio.inject({FaultKind::daemonAbsent});
  EXPECT_TRUE(waitUntil([&] { return !isOnTheBus(); }));
  radio.liftAll();
  EXPECT_TRUE(waitUntil([&] { return isOnTheBus(); }));
}

TEST_F(BluezDaemonTest, restartInTheMiddleOfACallFailsItAndKeepsBonds) {
  radio.bond(u"Laptop"_s, mouse);
  radio.bond(u"Laptop"_s, keyboard);
  radio.openLink(u"Laptop"_s, keyboard);
  radio.inject({FaultKind::daemonRestarts});
  EXPECT_EQ(client->device(mouse, u"Connect"_s).errorName(), u"org.freedesktop.DBus.Error.NoReply"_s);
  EXPECT_EQ(radio.connectedTo(keyboard), QString());
  EXPECT_TRUE(waitUntil([&] { return isOnTheBus(); }));
  EXPECT_EQ(client->deviceProperty(mouse, u"Paired"_s), true);
  EXPECT_EQ(client->device(mouse, u"Connect"_s).type(), QDBusMessage::ReplyMessage);
}

TEST_F(BluezDaemonTest, trustSurvivesARestartButNotARemoval) {
  radio.bond(u"Laptop"_s, mouse);
  client->setProperty(DeviceInterface::pathOf(mouse), u"org.bluez.Device1"_s, u"Trusted"_s, true);
  radio.inject({FaultKind::daemonAbsent});
  radio.liftAll();
  ASSERT_TRUE(waitUntil([&] { return isOnTheBus(); }));
  EXPECT_EQ(client->deviceProperty(mouse, u"Trusted"_s), true);
  client->removeDevice(mouse);
  find(mouse);
  EXPECT_EQ(client->deviceProperty(mouse, u"Trusted"_s), false);
}

TEST_F(BluezDaemonTest, twoComputersHandADeviceOver) {
  Computer studio(radio, u"Studio"_s);
  ASSERT_TRUE(studio.start());
  BusClient other(studio.busAddress());
  radio.bond(u"Laptop"_s, mouse);
  other.adapter(u"StartDiscovery"_s);
  EXPECT_FALSE(other.devicePaths().contains(DeviceInterface::pathOf(mouse)));
  client->removeDevice(mouse);
  ASSERT_TRUE(waitUntil([&] { return other.devicePaths().contains(DeviceInterface::pathOf(mouse)); }));
  EXPECT_EQ(other.device(mouse, u"Pair"_s).type(), QDBusMessage::ReplyMessage);
  EXPECT_EQ(other.device(mouse, u"Connect"_s).type(), QDBusMessage::ReplyMessage);
  EXPECT_EQ(radio.connectedTo(mouse), u"Studio"_s);
}

TEST_F(BluezDaemonTest, sleepingComputerAnswersWhenItWakes) {
  radio.bond(u"Laptop"_s, mouse);
  radio.openLink(u"Laptop"_s, mouse);
  laptop.bluez().setAsleep(true);
  EXPECT_EQ(radio.connectedTo(mouse), QString());
  EXPECT_EQ(client->call(DeviceInterface::pathOf(mouse), u"org.bluez.Device1"_s, u"Connect"_s, {}, 100).type(),
            QDBusMessage::InvalidMessage);
  EXPECT_EQ(radio.connectedTo(mouse), QString());
  laptop.bluez().setAsleep(false);
  EXPECT_TRUE(waitUntil([&] { return radio.connectedTo(mouse) == u"Laptop"_s; }));
  EXPECT_EQ(client->deviceProperty(mouse, u"Connected"_s), true);
}

TEST_F(BluezDaemonTest, connectionUnderWayFailsWhenTheComputerFallsAsleep) {
  radio.bond(u"Laptop"_s, mouse);
  QString ended;
  QObject::connect(&laptop.bluez(), &BluezService::answered, &laptop.bluez(),
                   [&](const BusCall& call, const QString& error) {
                     if (call.member() == u"Connect"_s) ended = error;
                   });
  laptop.bluez().setLatency(1s);
  client->send(DeviceInterface::pathOf(mouse), u"org.bluez.Device1"_s, u"Connect"_s);
  EXPECT_EQ(client->deviceProperty(mouse, u"Connected"_s), false);  // the call has come as well
  laptop.bluez().setAsleep(true);
  EXPECT_TRUE(waitUntil([&] { return ended == u"org.bluez.Error.Failed"_s; }));
  EXPECT_EQ(radio.connectedTo(mouse), QString());
}

TEST_F(BluezDaemonTest, answersAreReportedWithTheirErrors) {
  QStringList log;
  QObject::connect(&laptop.bluez(), &BluezService::answered, &laptop.bluez(),
                   [&](const BusCall& call, const QString& error) { log.append(call.member() + u':' + error); });
  client->removeDevice(mouse);
  EXPECT_TRUE(log.contains(u"RemoveDevice:org.bluez.Error.DoesNotExist"_s));
}

TEST_F(BluezDaemonTest, commandLineToolsReadIt) {
  radio.bond(u"Laptop"_s, mouse);
  const auto run = runProgram({.program = u"busctl"_s,
                               .arguments = {u"--address="_s + laptop.busAddress(), u"get-property"_s, u"org.bluez"_s,
                                             DeviceInterface::pathOf(mouse), u"org.bluez.Device1"_s, u"Paired"_s}});
  EXPECT_EQ(run.output, "b true\n") << run.error.toStdString();
}

}  // namespace
}  // namespace zolvex::lab
