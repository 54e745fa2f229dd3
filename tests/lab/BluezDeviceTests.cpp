#include "lab/BusClient.h"

namespace zolvex::lab {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

using BluezDevice = BluezTest;

TEST_F(BluezDevice, unknownDeviceIsAnUnknownObject) {
  EXPECT_EQ(client->device(mouse, u"Pair"_s).errorName(), u"org.freedesktop.DBus.Error.UnknownObject"_s);
  EXPECT_EQ(client->device(mouse, u"Connect"_s).errorName(), u"org.freedesktop.DBus.Error.UnknownObject"_s);
}

TEST_F(BluezDevice, unknownMethodOfAKnownDeviceIsAnUnknownMethod) {
  radio.bond(u"Laptop"_s, mouse);
  EXPECT_EQ(client->device(mouse, u"Dance"_s).errorName(), u"org.freedesktop.DBus.Error.UnknownMethod"_s);
}

TEST_F(BluezDevice, pairBondsItHere) {
  find(mouse);
  EXPECT_EQ(client->deviceProperty(mouse, u"Paired"_s), false);
  EXPECT_EQ(client->device(mouse, u"Pair"_s).type(), QDBusMessage::ReplyMessage);
  EXPECT_EQ(radio.holder(mouse), u"Laptop"_s);
  EXPECT_EQ(client->deviceProperty(mouse, u"Paired"_s), true);
  EXPECT_EQ(client->deviceProperty(mouse, u"Bonded"_s), true);
  EXPECT_TRUE(client->signalLog.contains(u"PropertiesChanged "_s + DeviceInterface::pathOf(mouse)));
}

TEST_F(BluezDevice, endOfABondIsToldByPairedAlone) {
  find(mouse);
  client->device(mouse, u"Pair"_s);
  ASSERT_TRUE(waitUntil([&] { return client->changeLog.contains(u"Paired=true"_s); }));
  EXPECT_TRUE(client->changeLog.contains(u"Bonded=true"_s));
  client->removeDevice(mouse);
  ASSERT_TRUE(waitUntil([&] { return client->changeLog.contains(u"Paired=false"_s); }));
  ASSERT_TRUE(
      waitUntil([&] { return client->signalLog.contains(u"InterfacesRemoved "_s + DeviceInterface::pathOf(mouse)); }));
  EXPECT_FALSE(client->changeLog.contains(u"Bonded=false"_s));
}

TEST_F(BluezDevice, pairOfAPairedDeviceAlreadyExists) {
  radio.bond(u"Laptop"_s, mouse);
  EXPECT_EQ(client->device(mouse, u"Pair"_s).errorName(), u"org.bluez.Error.AlreadyExists"_s);
}

TEST_F(BluezDevice, halfBondedDevicePairsOnlyAfterItsRemoval) {
  radio.inject({FaultKind::halfBonded});
  find(mouse);
  EXPECT_EQ(client->device(mouse, u"Pair"_s).errorName(), u"org.bluez.Error.AlreadyExists"_s);
  EXPECT_EQ(client->deviceProperty(mouse, u"Paired"_s), false);
  EXPECT_EQ(client->removeDevice(mouse).type(), QDBusMessage::ReplyMessage);
  ASSERT_TRUE(waitUntil([&] { return client->devicePaths().contains(DeviceInterface::pathOf(mouse)); }));
  EXPECT_EQ(client->device(mouse, u"Pair"_s).type(), QDBusMessage::ReplyMessage);
}

TEST_F(BluezDevice, deviceThatFellAsleepAnswersNeitherPairNorConnect) {
  find(mouse);
  radio.inject({FaultKind::asleep});
  EXPECT_EQ(client->device(mouse, u"Pair"_s).errorName(), u"org.bluez.Error.ConnectionAttemptFailed"_s);
  EXPECT_FALSE(client->devicePaths().contains(DeviceInterface::pathOf(mouse)));  // it was only found
  radio.liftAll();
  radio.bond(u"Laptop"_s, mouse);
  radio.inject({FaultKind::asleep});
  const auto reply = client->device(mouse, u"Connect"_s);
  EXPECT_EQ(reply.errorName(), u"org.bluez.Error.Failed"_s);
  EXPECT_EQ(reply.errorMessage(), u"br-connection-create-socket"_s);
}

TEST_F(BluezDevice, connectWithoutPairIsPairedButNotBonded) {
  find(mouse);
  EXPECT_EQ(client->device(mouse, u"Connect"_s).type(), QDBusMessage::ReplyMessage);
  EXPECT_EQ(client->deviceProperty(mouse, u"Paired"_s), true);
  EXPECT_EQ(client->deviceProperty(mouse, u"Bonded"_s), false);
}

TEST_F(BluezDevice, connectOfAConnectedDeviceSucceeds) {
  radio.bond(u"Laptop"_s, mouse);
  EXPECT_EQ(client->device(mouse, u"Connect"_s).type(), QDBusMessage::ReplyMessage);
  EXPECT_EQ(client->device(mouse, u"Connect"_s).type(), QDBusMessage::ReplyMessage);
  EXPECT_EQ(client->deviceProperty(mouse, u"Connected"_s), true);
}

TEST_F(BluezDevice, deviceWithoutUsableProfileCannotBeConnected) {
  radio.addDevice({.address = u"02:5A:00:00:00:09"_s, .name = u"Lamp"_s, .profiles = {}});
  radio.bond(u"Laptop"_s, u"02:5A:00:00:00:09"_s);
  const auto reply = client->device(u"02:5A:00:00:00:09"_s, u"Connect"_s);
  EXPECT_EQ(reply.errorName(), u"org.bluez.Error.NotAvailable"_s);
  EXPECT_EQ(reply.errorMessage(), u"br-connection-profile-unavailable"_s);
}

TEST_F(BluezDevice, thirdAttemptToConnectSucceeds) {
  radio.bond(u"Laptop"_s, mouse);
  radio.inject({FaultKind::thirdAttempt});
  EXPECT_EQ(client->device(mouse, u"Connect"_s).errorMessage(), u"br-connection-page-timeout"_s);
  EXPECT_EQ(client->device(mouse, u"Connect"_s).errorMessage(), u"br-connection-page-timeout"_s);
  EXPECT_EQ(client->device(mouse, u"Connect"_s).type(), QDBusMessage::ReplyMessage);
}

TEST_F(BluezDevice, secondCallerOfAPendingOperationIsTold) {
  radio.bond(u"Laptop"_s, keyboard);
  find(mouse);
  radio.inject({FaultKind::hangsOnPair});
  radio.inject({FaultKind::hangsOnConnect});
  client->send(DeviceInterface::pathOf(mouse), u"org.bluez.Device1"_s, u"Pair"_s);
  client->send(DeviceInterface::pathOf(keyboard), u"org.bluez.Device1"_s, u"Connect"_s);
  EXPECT_EQ(client->device(mouse, u"Pair"_s).errorName(), u"org.bluez.Error.InProgress"_s);
  EXPECT_EQ(client->device(keyboard, u"Connect"_s).errorName(), u"org.bluez.Error.InProgress"_s);
}

TEST_F(BluezDevice, callerThatLeavesTakesItsHangingOperationsWithIt) {
  find(mouse);
  radio.inject({FaultKind::hangsOnPair});
  client->send(DeviceInterface::pathOf(mouse), u"org.bluez.Device1"_s, u"Pair"_s);
  client->deviceProperty(mouse, u"Paired"_s);
  client.emplace(laptop.busAddress());
  radio.liftAll();
  EXPECT_TRUE(waitUntil([&] { return client->device(mouse, u"Pair"_s).type() == QDBusMessage::ReplyMessage; }));
}

TEST_F(BluezDevice, cancelledPairingFailsAndLeavesTheDeviceFree) {
  find(mouse);
  EXPECT_EQ(client->device(mouse, u"CancelPairing"_s).errorName(), u"org.bluez.Error.DoesNotExist"_s);
  radio.inject({FaultKind::hangsOnPair});
  BusClient other(laptop.busAddress());
  other.send(DeviceInterface::pathOf(mouse), u"org.bluez.Device1"_s, u"Pair"_s);
  EXPECT_TRUE(
      waitUntil([&] { return client->device(mouse, u"CancelPairing"_s).type() == QDBusMessage::ReplyMessage; }));
  EXPECT_EQ(radio.holder(mouse), QString());
}

TEST_F(BluezDevice, refusedPairingFailsAndLeavesALinkForAWhile) {
  find(mouse);
  radio.inject({FaultKind::refusesPairing});
  EXPECT_EQ(client->device(mouse, u"Pair"_s).errorName(), u"org.bluez.Error.AuthenticationFailed"_s);
  EXPECT_EQ(client->deviceProperty(mouse, u"Connected"_s), true);
  EXPECT_EQ(client->deviceProperty(mouse, u"Paired"_s), false);
  EXPECT_TRUE(waitUntil([&] { return client->deviceProperty(mouse, u"Connected"_s) == false; }));
}

TEST_F(BluezDevice, refusedConnectionLeavesALinkForAWhile) {
  radio.bond(u"Laptop"_s, mouse);
  radio.inject({FaultKind::refusesConnection});
  EXPECT_EQ(client->device(mouse, u"Connect"_s).errorMessage(), u"br-connection-create-socket"_s);
  EXPECT_EQ(client->deviceProperty(mouse, u"Connected"_s), true);
  EXPECT_TRUE(waitUntil([&] { return client->deviceProperty(mouse, u"Connected"_s) == false; }));
}

TEST_F(BluezDevice, forgottenBondRefusesUntilTheDeviceIsRemoved) {
  radio.bond(u"Laptop"_s, mouse);
  radio.inject({FaultKind::bondForgotten});
  EXPECT_EQ(client->device(mouse, u"Connect"_s).errorName(), u"org.bluez.Error.Failed"_s);
  EXPECT_TRUE(waitUntil([&] { return client->deviceProperty(mouse, u"Connected"_s) == false; }));
  EXPECT_EQ(client->deviceProperty(mouse, u"Bonded"_s), true);
  client->removeDevice(mouse);
  find(mouse);
  EXPECT_EQ(client->device(mouse, u"Pair"_s).type(), QDBusMessage::ReplyMessage);
  EXPECT_EQ(client->device(mouse, u"Connect"_s).type(), QDBusMessage::ReplyMessage);
}

TEST_F(BluezDevice, hangingConnectionIsALinkAndFailsWithTheAdapter) {
  radio.bond(u"Laptop"_s, mouse);
  radio.inject({FaultKind::hangsOnConnect});
  BusClient other(laptop.busAddress());
  other.send(DeviceInterface::pathOf(mouse), u"org.bluez.Device1"_s, u"Connect"_s);
  EXPECT_TRUE(waitUntil([&] { return client->deviceProperty(mouse, u"Connected"_s) == true; }));
  radio.inject({FaultKind::adapterOff});
  EXPECT_EQ(client->deviceProperty(mouse, u"Connected"_s), false);
}

TEST_F(BluezDevice, hangingConnectionGoesOnWhenTheDeviceAnswersAgain) {
  radio.bond(u"Laptop"_s, mouse);
  radio.inject({FaultKind::hangsOnConnect});
  BusClient other(laptop.busAddress());
  other.send(DeviceInterface::pathOf(mouse), u"org.bluez.Device1"_s, u"Connect"_s);
  EXPECT_TRUE(waitUntil([&] { return client->deviceProperty(mouse, u"Connected"_s) == true; }));
  EXPECT_EQ(radio.connectedTo(mouse), QString());
  radio.liftAll();
  EXPECT_EQ(radio.connectedTo(mouse), u"Laptop"_s);
  EXPECT_EQ(client->device(mouse, u"Connect"_s).type(), QDBusMessage::ReplyMessage);
}

TEST_F(BluezDevice, lostReplyOfAConnectionLeavesTheDeviceConnected) {
  radio.bond(u"Laptop"_s, mouse);
  radio.inject({FaultKind::connectReplyLost});
  client->send(DeviceInterface::pathOf(mouse), u"org.bluez.Device1"_s, u"Connect"_s);
  EXPECT_TRUE(waitUntil([&] { return radio.connectedTo(mouse) == u"Laptop"_s; }));
}

TEST_F(BluezDevice, disconnectKeepsTheBondAndTakesItsTime) {
  radio.bond(u"Laptop"_s, mouse);
  EXPECT_EQ(client->device(mouse, u"Disconnect"_s).type(), QDBusMessage::ReplyMessage);
  client->device(mouse, u"Connect"_s);
  client->send(DeviceInterface::pathOf(mouse), u"org.bluez.Device1"_s, u"Disconnect"_s);
  EXPECT_EQ(client->deviceProperty(mouse, u"Connected"_s), true);
  EXPECT_TRUE(waitUntil([&] { return client->deviceProperty(mouse, u"Connected"_s) == false; }));
  EXPECT_EQ(client->deviceProperty(mouse, u"Paired"_s), true);
}

TEST_F(BluezDevice, onlyTrustedAndAliasCanBeSet) {
  radio.bond(u"Laptop"_s, mouse);
  const auto path = DeviceInterface::pathOf(mouse);
  const auto device1 = u"org.bluez.Device1"_s;
  EXPECT_EQ(client->setProperty(path, device1, u"Trusted"_s, true).type(), QDBusMessage::ReplyMessage);
  EXPECT_EQ(client->setProperty(path, device1, u"Alias"_s, u"Mousy"_s).type(), QDBusMessage::ReplyMessage);
  EXPECT_EQ(client->deviceProperty(mouse, u"Trusted"_s), true);
  EXPECT_EQ(client->deviceProperty(mouse, u"Alias"_s), u"Mousy"_s);
  EXPECT_EQ(client->deviceProperty(mouse, u"Name"_s), u"Magic Mouse"_s);
  EXPECT_EQ(client->setProperty(path, device1, u"Paired"_s, false).type(), QDBusMessage::ErrorMessage);
}

class SlowBluezDevice : public BluezTest {
 protected:
  SlowBluezDevice() : BluezTest({.latency = 150ms}) {}
};

TEST_F(SlowBluezDevice, severalCallersAreServedAtOnce) {
  radio.bond(u"Laptop"_s, mouse);
  radio.bond(u"Laptop"_s, keyboard);
  client->send(DeviceInterface::pathOf(mouse), u"org.bluez.Device1"_s, u"Connect"_s);
  client->send(DeviceInterface::pathOf(keyboard), u"org.bluez.Device1"_s, u"Connect"_s);
  // Properties are read at once, before either connection is there.
  EXPECT_EQ(client->deviceProperty(mouse, u"Connected"_s), false);
  EXPECT_EQ(client->deviceProperty(keyboard, u"Connected"_s), false);
  EXPECT_TRUE(waitUntil([&] { return radio.connectedTo(mouse) == u"Laptop"_s; }));
  EXPECT_TRUE(waitUntil([&] { return radio.connectedTo(keyboard) == u"Laptop"_s; }));
}

TEST_F(SlowBluezDevice, deviceThatIsTakenMeanwhileCannotBePaired) {
  find(mouse);
  client->send(DeviceInterface::pathOf(mouse), u"org.bluez.Device1"_s, u"Pair"_s);
  client->deviceProperty(mouse, u"Paired"_s);
  radio.bond(u"Studio"_s, mouse);
  EXPECT_EQ(client->device(mouse, u"Pair"_s).errorName(), u"org.bluez.Error.InProgress"_s);
  // The attempt fails, and what was only found and cannot be reached is forgotten.
  EXPECT_TRUE(waitUntil(
      [&] { return client->device(mouse, u"Pair"_s).errorName() == u"org.freedesktop.DBus.Error.UnknownObject"_s; }));
  EXPECT_EQ(radio.holder(mouse), u"Studio"_s);
}

}  // namespace
}  // namespace zolvex::lab
