#include "ControlWorld.h"
#include "control/ControlNames.h"
#include "control/ControlTypes.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QFile>
#include <QRegularExpression>
#include <gtest/gtest.h>

#include <algorithm>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;
using namespace control;

/// A client of the service; keeps the changes it is told.
class Client : public QObject {
  Q_OBJECT

 public:
  explicit Client(const QString& address) : connection_(QDBusConnection::connectToBus(address, u"control-client"_s)) {
    connection_.connect(QString(), objectPath, propertiesInterface, u"PropertiesChanged"_s, this,
                        SLOT(changed(QString, QVariantMap)));
  }
  ~Client() override { QDBusConnection::disconnectFromBus(u"control-client"_s); }

  QDBusMessage call(const QString& method, const QVariantList& arguments = {},
                    const QString& interface = interfaceName) {
    auto message = QDBusMessage::createMethodCall(serviceName, objectPath, interface, method);
    message.setArguments(arguments);
    const QDBusPendingCallWatcher watcher(connection_.asyncCall(message));
    EXPECT_TRUE(runUntil([&] { return watcher.isFinished(); }));
    return watcher.reply();
  }
  QVariant property(const QString& name) {
    const auto reply = call(u"Get"_s, {QString(interfaceName), name}, propertiesInterface);
    return reply.arguments().value(0).value<QDBusVariant>().variant();
  }

  std::vector<std::pair<QString, QVariant>> changes;

 private Q_SLOTS:
  void changed(const QString&, const QVariantMap& values) {
    for (auto item = values.begin(); item != values.end(); ++item) changes.emplace_back(item.key(), item.value());
  }

 private:
  QDBusConnection connection_;
};

struct ControlServiceTest : testing::Test {
  void SetUp() override {
    ASSERT_TRUE(computer.isReady());
    client.emplace(computer.bus.address());
  }
  /// How many changes of one property were told until now.
  long countOf(const QString& name) {
    client->property(u"Version"_s);  // what was told before has come
    return std::count_if(client->changes.begin(), client->changes.end(),
                         [&](const auto& change) { return change.first == name; });
  }
  /// The texts of the changes of one property, once there are as many as the state has been assigned.
  std::vector<std::string> changesOf(const QString& name, std::size_t count) {
    const auto texts = [&] {
      std::vector<std::string> found;
      for (const auto& [changed, value] : client->changes)
        if (changed == name) found.push_back(value.toString().toStdString());
      return found;
    };
    EXPECT_TRUE(runUntil([&] { return texts().size() >= count; }));
    return texts();
  }

  ControlWorld computer;
  World& world = computer.world;
  std::optional<Client> client;
};

TEST_F(ControlServiceTest, everyPropertyCanBeRead) {
  world.haveConnected(1);
  EXPECT_EQ(client->property(u"OwnershipState"_s), QVariant(u"unknown"_s));
  EXPECT_EQ(client->property(u"IsSwitching"_s), QVariant(false));
  EXPECT_EQ(client->property(u"LastResult"_s), QVariant(u""_s));
  EXPECT_EQ(client->property(u"CurrentOperation"_s), QVariant(u""_s));
  EXPECT_EQ(client->property(u"TransportMode"_s), QVariant(u"bonjour"_s));
  EXPECT_EQ(client->property(u"PeerReachable"_s), QVariant(false));
  EXPECT_FALSE(client->property(u"Version"_s).toString().isEmpty());
  const auto devices = qdbus_cast<DeviceRows>(client->property(u"Devices"_s));
  ASSERT_EQ(devices.size(), 2);
  EXPECT_EQ(devices[0].name, u"Magic Keyboard"_s);
  EXPECT_TRUE(devices[0].isConnected);
  EXPECT_FALSE(devices[1].isConnected);
}

TEST_F(ControlServiceTest, peersAreShownWithAllThatIsKnown) {
  world.peer.answer = PeerReply::failed();
  world.peer.receive("HEALTH_CHECK");
  const auto peers = qdbus_cast<PeerRows>(client->property(u"RegisteredPeers"_s));
  ASSERT_EQ(peers.size(), 1);
  EXPECT_EQ(peers[0].id, u"ABC123"_s);
  EXPECT_EQ(peers[0].host, u"192.0.2.7"_s);
  EXPECT_EQ(peers[0].port, 4711);
  EXPECT_TRUE(peers[0].isActive);
  EXPECT_TRUE(peers[0].isReachable);
  EXPECT_GT(peers[0].lastReachable, 0);
  world.advance(Seconds(45));
  EXPECT_FALSE(qdbus_cast<PeerRows>(client->property(u"RegisteredPeers"_s))[0].isReachable);
  EXPECT_EQ(client->property(u"PeerReachable"_s), QVariant(false));
}

TEST_F(ControlServiceTest, getAllHasWhatTheDescriptionPromises) {
  const auto reply = client->call(u"GetAll"_s, {QString(interfaceName)}, propertiesInterface);
  const auto names = qdbus_cast<QVariantMap>(reply.arguments().value(0)).keys();
  const auto xml =
      client->call(u"Introspect"_s, {}, u"org.freedesktop.DBus.Introspectable"_s).arguments()[0].toString();
  QStringList described;
  auto found = QRegularExpression(u"<property name=\"(\\w+)\""_s).globalMatch(xml);
  while (found.hasNext()) described.append(found.next().captured(1));
  described.sort();
  EXPECT_EQ(names, described);
  EXPECT_EQ(names.size(), 10);
}

TEST_F(ControlServiceTest, everyDescribedMethodExists) {
  const auto xml =
      client->call(u"Introspect"_s, {}, u"org.freedesktop.DBus.Introspectable"_s).arguments()[0].toString();
  const auto own = xml.mid(xml.indexOf(u"<interface name=\"quenmar.zolvex.app.Control\">"_s));
  auto found = QRegularExpression(u"<method name=\"(\\w+)\""_s).globalMatch(own.left(own.indexOf(u"</interface>"_s)));
  int count = 0;
  while (found.hasNext()) {
    // Wrong arguments tell the existing methods from the others without running them.
    const auto reply = client->call(found.next().captured(1), {u"x"_s, u"y"_s, u"z"_s});
    EXPECT_EQ(reply.errorName(), u"org.freedesktop.DBus.Error.InvalidArgs"_s);
    ++count;
  }
  EXPECT_EQ(count, 13);
}

TEST_F(ControlServiceTest, isActivatedLikeOtherApplications) {
  for (const auto& [method, arguments] :
       std::vector<std::pair<QString, QVariantList>>{{u"Activate"_s, {QVariantMap()}},
                                                     {u"Open"_s, {QStringList{u"file:///tmp"_s}, QVariantMap()}},
                                                     {u"ActivateAction"_s, {u"x"_s, QVariantList(), QVariantMap()}}})
    EXPECT_EQ(client->call(method, arguments, applicationInterface).type(), QDBusMessage::ReplyMessage);
  EXPECT_EQ(client->call(u"Show"_s).type(), QDBusMessage::ReplyMessage);
  EXPECT_EQ(computer.timesShown, 4);
  EXPECT_EQ(client->call(u"Activate"_s, {}, applicationInterface).errorName(),
            u"org.freedesktop.DBus.Error.UnknownMethod"_s);
}

TEST_F(ControlServiceTest, withoutWindowsNothingCanBeShown) {
  computer.hasWindows = false;
  EXPECT_EQ(client->call(u"Show"_s).errorName(), QString(error::failed));
  EXPECT_EQ(client->call(u"Activate"_s, {QVariantMap()}, applicationInterface).errorName(), QString(error::failed));
}

TEST_F(ControlServiceTest, misuseIsAnErrorAndNothingElse) {
  EXPECT_EQ(client->call(u"Explode"_s).errorName(), u"org.freedesktop.DBus.Error.UnknownMethod"_s);
  EXPECT_EQ(client->call(u"Get"_s, {QString(interfaceName), u"Nothing"_s}, propertiesInterface).errorName(),
            u"org.freedesktop.DBus.Error.UnknownProperty"_s);
  EXPECT_EQ(client
                ->call(u"Set"_s, {QString(interfaceName), u"IsSwitching"_s, QVariant::fromValue(QDBusVariant(true))},
                       propertiesInterface)
                .errorName(),
            u"org.freedesktop.DBus.Error.PropertyReadOnly"_s);
  EXPECT_EQ(client->call(u"Get"_s, {}, propertiesInterface).errorName(), u"org.freedesktop.DBus.Error.UnknownMethod"_s);
  EXPECT_EQ(client->call(u"Release"_s, {}, u"org.example.Other"_s).type(), QDBusMessage::ErrorMessage);
  EXPECT_FALSE(world.manager().isSwitching());
}

TEST_F(ControlServiceTest, everyAssignmentIsToldInOrderWithItsValue) {
  client->call(u"ConnectToThisMac"_s, {false});
  world.advance(Seconds(30));
  EXPECT_EQ(changesOf(u"LastResult"_s, world.statusTexts.size()), world.statusTexts);
  std::vector<std::string> states;
  for (const auto state : world.states) states.emplace_back(nameOf(state));
  EXPECT_EQ(changesOf(u"OwnershipState"_s, states.size()), states);
  EXPECT_EQ(changesOf(u"IsSwitching"_s, 2), (std::vector<std::string>{"true", "false"}));
  EXPECT_EQ(changesOf(u"CurrentOperation"_s, 2), (std::vector<std::string>{"connecting", ""}));
}

TEST_F(ControlServiceTest, anAssignmentThatChangesNothingIsToldToo) {
  client->call(u"Refresh"_s);
  client->call(u"Refresh"_s);
  EXPECT_EQ(changesOf(u"LastResult"_s, 2), (std::vector<std::string>{"Not connected", "Not connected"}));
}

TEST_F(ControlServiceTest, devicesPeersAndTransportAreToldToo) {
  world.haveConnected(1);
  world.peer.receive("HEALTH_CHECK");
  client->call(u"SetTransportMode"_s, {u"bluetooth"_s});
  EXPECT_EQ(changesOf(u"Devices"_s, 1).size(), 1u);
  EXPECT_EQ(changesOf(u"PeerReachable"_s, 2), (std::vector<std::string>{"true", "false"}));
  EXPECT_EQ(changesOf(u"TransportMode"_s, 1), std::vector<std::string>{"bluetooth"});
}

TEST_F(ControlServiceTest, thatAPeerHasFallenSilentIsTold) {
  world.peer.receive("HEALTH_CHECK");
  world.peer.answer = PeerReply::failed("timeout");
  world.advance(Seconds(44.9));
  EXPECT_EQ(changesOf(u"PeerReachable"_s, 1), std::vector<std::string>{"true"});
  world.advance(Seconds(0.2));
  EXPECT_EQ(changesOf(u"PeerReachable"_s, 2), (std::vector<std::string>{"true", "false"}));
  const auto peers = qdbus_cast<PeerRows>(client->property(u"RegisteredPeers"_s));
  ASSERT_EQ(peers.size(), 1);
  EXPECT_FALSE(peers[0].isReachable);
}

TEST_F(ControlServiceTest, thatAPeerWasHeardOfAgainIsNotTold) {
  const auto found = *world.network().registeredPeer();
  world.peer.discover(found);
  world.advance(NetworkDeviceStore::firstHealthCheckDelay + Seconds(1));
  ASSERT_TRUE(world.network().isPeerReachable());
  const auto registered = countOf(u"RegisteredPeers"_s);
  const auto discovered = countOf(u"DiscoveredPeers"_s);
  EXPECT_GT(registered, 0);
  EXPECT_GT(discovered, 0);
  const auto heard = qdbus_cast<PeerRows>(client->property(u"RegisteredPeers"_s))[0].lastReachable;
  world.peer.receive("HEALTH_CHECK");
  world.advance(4 * NetworkDeviceStore::peerHealthInterval);
  EXPECT_EQ(countOf(u"RegisteredPeers"_s), registered);
  EXPECT_EQ(countOf(u"DiscoveredPeers"_s), discovered);
  EXPECT_GT(qdbus_cast<PeerRows>(client->property(u"RegisteredPeers"_s))[0].lastReachable, heard);
}

TEST_F(ControlServiceTest, whatElseIsNewOfAPeerIsTold) {
  world.advance(NetworkDeviceStore::firstHealthCheckDelay + Seconds(1));
  const auto before = countOf(u"RegisteredPeers"_s);
  auto moved = *world.network().registeredPeer();
  moved.port = 4712;
  world.peer.discover(moved);
  EXPECT_EQ(countOf(u"RegisteredPeers"_s), before + 1);
  EXPECT_EQ(qdbus_cast<PeerRows>(client->changes.back().second)[0].port, 4712);
}

TEST_F(ControlServiceTest, refusalsHaveNamesAndTexts) {
  client->call(u"Release"_s);
  const auto busy = client->call(u"ForceConnect"_s, {true});
  EXPECT_EQ(busy.errorName(), QString(error::busy));
  EXPECT_EQ(busy.errorMessage(), u"The devices are being moved already: Releasing..."_s);
}

TEST_F(ControlServiceTest, listsPairedDevicesLaterWhileItAnswersOthers) {
  bool answered = false;
  auto message = QDBusMessage::createMethodCall(serviceName, objectPath, interfaceName, u"PairedDevices"_s);
  auto connection = QDBusConnection::connectToBus(computer.bus.address(), u"second"_s);
  const QDBusPendingCallWatcher watcher(connection.asyncCall(message));
  QObject::connect(&watcher, &QDBusPendingCallWatcher::finished, &watcher, [&] { answered = true; });
  EXPECT_EQ(client->property(u"IsSwitching"_s), QVariant(false));
  EXPECT_FALSE(answered);
  ASSERT_TRUE(runUntil([&] { return world.runUntilIdle(), answered; }));
  const auto rows = qdbus_cast<PairedRows>(watcher.reply().arguments().value(0));
  ASSERT_EQ(rows.size(), 3);
  EXPECT_TRUE(rows[0].isManaged);
  EXPECT_FALSE(rows[1].isManaged);
  QDBusConnection::disconnectFromBus(u"second"_s);
}

TEST_F(ControlServiceTest, returnsWithItsBus) {
  world.log.expectError("lost the session bus");
  client.reset();
  computer.bus.stop();
  ASSERT_TRUE(runUntil([&] { return !computer.link.isConnected(); }));
  world.manager().refreshFromLiveState();  // told to nobody
  ASSERT_TRUE(computer.bus.start());
  ASSERT_TRUE(computer.isReady());
  client.emplace(computer.bus.address());
  EXPECT_EQ(client->property(u"LastResult"_s), QVariant(u"Not connected"_s));
}

/// The service of a second program on the same bus.
struct SecondControlServiceTest : ControlServiceTest {
  static constexpr auto complaint = "another program has the bus name; zolvexctl cannot reach this one";

  void SetUp() override {
    ControlServiceTest::SetUp();
    world.log.expectError(complaint);
    link.start();
    ASSERT_TRUE(runUntil([&] { return world.log.contains(complaint); }));
  }
  BusLink link{computer.queue, "session bus", computer.bus.address().toStdString()};
  const ControlService service{computer.controlled(), computer.decisions, link};
};

TEST_F(SecondControlServiceTest, saysThatItCannotBeReached) {
  EXPECT_EQ(client->property(u"IsSwitching"_s), QVariant(false));  // the first one still can
}

TEST_F(SecondControlServiceTest, takesTheNameWhenTheFirstEnds) {
  computer.service.reset();
  computer.link.connection().unregisterService(serviceName);
  const auto owner = [this] { return link.connection().interface()->serviceOwner(serviceName).value(); };
  ASSERT_TRUE(runUntil([&] { return owner() == link.connection().baseService(); }));
  EXPECT_EQ(client->property(u"IsSwitching"_s), QVariant(false));
}

}  // namespace
}  // namespace zolvex::test

#include "ControlServiceTests.moc"
