#include "lab/BusClient.h"

#include <QDBusObjectPath>

namespace zolvex::lab {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class BluezAdapter : public BluezTest {
 protected:
  BluezAdapter() : BluezTest({.foundDeviceLife = 60ms}) {}

  QVariant adapterProperty(const QString& name) {
    return client->property(AdapterInterface::path(), u"org.bluez.Adapter1"_s, name);
  }
  QDBusMessage power(bool on) {
    return client->setProperty(AdapterInterface::path(), u"org.bluez.Adapter1"_s, u"Powered"_s, on);
  }
};

TEST_F(BluezAdapter, showsItselfPoweredAndWithItsAddress) {
  EXPECT_EQ(adapterProperty(u"Powered"_s), true);
  EXPECT_EQ(adapterProperty(u"Address"_s).toString(), radio.adapterAddressFor(u"Laptop"_s));
  EXPECT_TRUE(client->devicePaths().isEmpty());
}

TEST_F(BluezAdapter, findsFreeDevicesOnlyWhileDiscovering) {
  radio.bond(u"Studio"_s, mouse);
  find(keyboard);
  EXPECT_EQ(adapterProperty(u"Discovering"_s), true);
  EXPECT_FALSE(client->devicePaths().contains(DeviceInterface::pathOf(mouse)));
  EXPECT_TRUE(client->signalLog.contains(u"InterfacesAdded "_s + DeviceInterface::pathOf(keyboard)));
}

TEST_F(BluezAdapter, deviceThatIsReleasedElsewhereIsFoundByARunningDiscovery) {
  radio.bond(u"Studio"_s, mouse);
  find(keyboard);
  radio.release(u"Studio"_s, mouse);
  EXPECT_TRUE(waitUntil([&] { return client->devicePaths().contains(DeviceInterface::pathOf(mouse)); }));
}

TEST_F(BluezAdapter, discoveryForLowEnergyFindsNoClassicDevice) {
  client->adapter(u"SetDiscoveryFilter"_s, {QVariantMap{{u"Transport"_s, u"le"_s}}});
  client->adapter(u"StartDiscovery"_s);
  EXPECT_TRUE(client->devicePaths().isEmpty());
  client->adapter(u"SetDiscoveryFilter"_s, {QVariantMap{{u"Transport"_s, u"bredr"_s}}});
  client->adapter(u"StopDiscovery"_s);
  find(mouse);
}

TEST_F(BluezAdapter, filterWithAnUnknownKeyIsInvalid) {
  const auto reply = client->adapter(u"SetDiscoveryFilter"_s, {QVariantMap{{u"Colour"_s, u"red"_s}}});
  EXPECT_EQ(reply.errorName(), u"org.bluez.Error.InvalidArguments"_s);
}

TEST_F(BluezAdapter, foundDevicesAreForgottenSomeTimeAfterTheDiscovery) {
  find(mouse);
  EXPECT_TRUE(client->deviceProperty(mouse, u"RSSI"_s).isValid());
  client->adapter(u"StopDiscovery"_s);
  EXPECT_FALSE(client->deviceProperty(mouse, u"RSSI"_s).isValid());
  EXPECT_TRUE(waitUntil([&] { return client->devicePaths().isEmpty(); }));
  EXPECT_TRUE(client->signalLog.contains(u"InterfacesRemoved "_s + DeviceInterface::pathOf(mouse)));
}

TEST_F(BluezAdapter, discoveryEndsWithItsClient) {
  find(mouse);
  client.emplace(laptop.busAddress());
  EXPECT_TRUE(waitUntil([&] { return adapterProperty(u"Discovering"_s) == false; }));
  EXPECT_TRUE(waitUntil([&] { return client->devicePaths().isEmpty(); }));
}

TEST_F(BluezAdapter, discoveryCannotBeStartedTwiceNorStoppedBefore) {
  EXPECT_EQ(client->adapter(u"StopDiscovery"_s).errorName(), u"org.bluez.Error.Failed"_s);
  client->adapter(u"StartDiscovery"_s);
  EXPECT_EQ(client->adapter(u"StartDiscovery"_s).errorName(), u"org.bluez.Error.InProgress"_s);
  EXPECT_EQ(client->adapter(u"StopDiscovery"_s).type(), QDBusMessage::ReplyMessage);
}

TEST_F(BluezAdapter, removeOfAnUnknownDeviceSaysSo) {
  EXPECT_EQ(client->removeDevice(mouse).errorName(), u"org.bluez.Error.DoesNotExist"_s);
}

TEST_F(BluezAdapter, removeEndsTheBondAndWithdrawsTheDevice) {
  radio.bond(u"Laptop"_s, mouse);
  radio.openLink(u"Laptop"_s, mouse);
  EXPECT_EQ(client->removeDevice(mouse).type(), QDBusMessage::ReplyMessage);
  EXPECT_EQ(radio.holder(mouse), QString());
  EXPECT_TRUE(
      waitUntil([&] { return client->signalLog.contains(u"InterfacesRemoved "_s + DeviceInterface::pathOf(mouse)); }));
}

TEST_F(BluezAdapter, lostReplyOfARemovalStillWithdrawsTheDevice) {
  radio.bond(u"Laptop"_s, mouse);
  radio.inject({FaultKind::removeReplyLost});
  EXPECT_EQ(client->removeDevice(mouse, 100).type(), QDBusMessage::InvalidMessage);
  EXPECT_EQ(radio.holder(mouse), QString());
  EXPECT_TRUE(client->signalLog.contains(u"InterfacesRemoved "_s + DeviceInterface::pathOf(mouse)));
}

TEST_F(BluezAdapter, hangingRemovalDoesNothing) {
  radio.bond(u"Laptop"_s, mouse);
  radio.inject({FaultKind::hangsOnRemove});
  EXPECT_EQ(client->removeDevice(mouse, 100).type(), QDBusMessage::InvalidMessage);
  EXPECT_EQ(radio.holder(mouse), u"Laptop"_s);
}

TEST_F(BluezAdapter, poweredOffAnswersNotReadyAndKeepsBonds) {
  radio.bond(u"Laptop"_s, mouse);
  radio.openLink(u"Laptop"_s, mouse);
  EXPECT_EQ(power(false).type(), QDBusMessage::ReplyMessage);
  EXPECT_EQ(adapterProperty(u"Powered"_s), false);
  const auto notReady = u"org.bluez.Error.NotReady"_s;
  EXPECT_EQ(client->adapter(u"StartDiscovery"_s).errorName(), notReady);
  EXPECT_EQ(client->device(mouse, u"Connect"_s).errorName(), notReady);
  EXPECT_EQ(client->removeDevice(mouse).errorName(), notReady);
  EXPECT_EQ(client->deviceProperty(mouse, u"Paired"_s), true);
  EXPECT_EQ(client->deviceProperty(mouse, u"Connected"_s), false);
}

TEST_F(BluezAdapter, faultKeepsItOffUntilLifted) {
  radio.inject({FaultKind::adapterOff});
  EXPECT_EQ(adapterProperty(u"Powered"_s), false);
  EXPECT_EQ(power(true).errorName(), u"org.bluez.Error.Failed"_s);
  radio.liftAll();
  EXPECT_EQ(adapterProperty(u"Powered"_s), true);
}

TEST_F(BluezAdapter, unpluggedAdapterTakesItsDevicesWithItAndBringsThemBack) {
  radio.bond(u"Laptop"_s, mouse);
  radio.inject({FaultKind::adapterUnplugged});
  EXPECT_FALSE(adapterProperty(u"Powered"_s).isValid());
  EXPECT_TRUE(client->devicePaths().isEmpty());
  EXPECT_TRUE(client->signalLog.contains(u"InterfacesRemoved "_s + AdapterInterface::path()));
  radio.liftAll();
  EXPECT_EQ(client->devicePaths(), QStringList{DeviceInterface::pathOf(mouse)});
}

}  // namespace
}  // namespace zolvex::lab
