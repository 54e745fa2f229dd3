#include "lab/PrivateBus.h"
#include "lab/ProgramRun.h"
#include "support/EventLoop.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QProcess>
#include <QVariantMap>
#include <gtest/gtest.h>

#include <functional>
#include <utility>

namespace zolvex::test {
namespace {

using namespace Qt::StringLiterals;

/// Tells when a device is announced to be connected.
class ConnectionWitness : public QObject {
  Q_OBJECT

 public:
  ConnectionWitness(QDBusConnection connection, const QString& path) {
    connection.connect(u"org.bluez"_s, path, u"org.freedesktop.DBus.Properties"_s, u"PropertiesChanged"_s, this,
                       SLOT(onPropertiesChanged(QString, QVariantMap)));
  }
  std::function<void()> onConnected;

 private Q_SLOTS:
  void onPropertiesChanged(const QString&, const QVariantMap& changed) {
    if (changed.value(u"Connected"_s).toBool() && onConnected) std::exchange(onConnected, nullptr)();
  }
};

/// The program in worker mode against another fake of BlueZ, which knows nothing of ours.
class WorkerDbusmock : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(bus.start()) << bus.errorString().toStdString();
    environment.insert(u"DBUS_SYSTEM_BUS_ADDRESS"_s, bus.address());
    environment.remove(u"ZOLVEX_ADAPTER"_s);
    daemon.setProcessEnvironment(environment);
    daemon.start(u"/usr/bin/python3"_s, {u"-m"_s, u"dbusmock"_s, u"--system"_s, u"--template"_s, u"bluez5"_s});
    ASSERT_TRUE(daemon.waitForStarted());
    connection = QDBusConnection::connectToBus(bus.address(), u"dbusmock"_s);
    ASSERT_TRUE(waitForDaemon());
    mock(u"AddAdapter"_s, {u"hci0"_s, u"Laptop"_s});
  }
  void TearDown() override {
    QDBusConnection::disconnectFromBus(u"dbusmock"_s);
    daemon.kill();
    daemon.waitForFinished();
  }

  bool waitForDaemon() {
    const auto name = u"org.bluez"_s;
    bool isThere = false;
    const QDBusServiceWatcher watcher(name, connection, QDBusServiceWatcher::WatchForRegistration);
    QObject::connect(&watcher, &QDBusServiceWatcher::serviceRegistered, &daemon, [&] { isThere = true; });
    return runUntil([&] { return isThere || connection.interface()->isServiceRegistered(name); });
  }
  static QDBusMessage message(const QString& path, const QString& interface, const QString& member,
                              const QVariantList& arguments) {
    auto call = QDBusMessage::createMethodCall(u"org.bluez"_s, path, interface, member);
    call.setArguments(arguments);
    return call;
  }
  void send(const QString& member, const QVariantList& arguments) {
    connection.send(message(u"/org/bluez"_s, u"org.bluez.Mock"_s, member, arguments));
  }
  void mock(const QString& member, const QVariantList& arguments) {
    expectReply(message(u"/org/bluez"_s, u"org.bluez.Mock"_s, member, arguments));
  }
  void setPowered(const QString& adapter, bool powered) {
    expectReply(message(u"/org/bluez/"_s + adapter, u"org.freedesktop.DBus.Properties"_s, u"Set"_s,
                        {u"org.bluez.Adapter1"_s, u"Powered"_s, QVariant::fromValue(QDBusVariant(powered))}));
  }
  void expectReply(const QDBusMessage& call) { expectReplyTo(connection.call(call)); }
  static void expectReplyTo(const QDBusMessage& answer) {
    ASSERT_EQ(answer.type(), QDBusMessage::ReplyMessage) << answer.errorMessage().toStdString();
  }
  void addPaired(const QString& adapter, const QString& address, const QString& name) {
    mock(u"AddDevice"_s, {adapter, address, name});
    // Newer templates take no device class any more.
    const auto pair = [&](const QVariantList& arguments) {
      return connection.call(message(u"/org/bluez"_s, u"org.bluez.Mock"_s, u"PairDevice"_s, arguments));
    };
    if (pair({adapter, address, 0x0540}).type() != QDBusMessage::ReplyMessage) expectReplyTo(pair({adapter, address}));
  }
  lab::ProgramRun run(const QString& command, const QByteArray& input = {}) {
    return lab::runProgram({.program = QStringLiteral(ZOLVEX_PROGRAM),
                            .arguments = {u"--zolvex-bluetooth-worker"_s, command},
                            .input = input,
                            .environment = environment});
  }

  lab::PrivateBus bus;
  QProcess daemon;
  QDBusConnection connection{QString()};
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
};

TEST_F(WorkerDbusmock, listsThePairedDevices) {
  mock(u"AddDevice"_s, {u"hci0"_s, u"11:22:33:44:55:01"_s, u"stranger"_s});
  addPaired(u"hci0"_s, u"11:22:33:44:55:03"_s, u"second"_s);
  addPaired(u"hci0"_s, u"11:22:33:44:55:02"_s, u"first"_s);
  mock(u"ConnectDevice"_s, {u"hci0"_s, u"11:22:33:44:55:03"_s});
  const auto result = run(u"listPaired"_s);
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(result.output, R"([{"id":"11-22-33-44-55-02","name":"first","isConnected":false},)"
                           R"({"id":"11-22-33-44-55-03","name":"second","isConnected":true}])");
}

// This fake announces a connection but goes on answering that there is none, until it is told otherwise.
TEST_F(WorkerDbusmock, pairsAndConnects) {
  mock(u"AddDevice"_s, {u"hci0"_s, u"11:22:33:44:55:01"_s, u"Magic Mouse"_s});
  ConnectionWitness witness(connection, u"/org/bluez/hci0/dev_11_22_33_44_55_01"_s);
  witness.onConnected = [this] { send(u"ConnectDevice"_s, {u"hci0"_s, u"11:22:33:44:55:01"_s}); };
  const auto result = run(u"connect"_s, "11-22-33-44-55-01");
  EXPECT_EQ(result.exitStatus, 0) << result.error.toStdString();
  EXPECT_TRUE(result.output.startsWith("Attempt 1: openConnection=0, connected=")) << result.output.toStdString();
  EXPECT_EQ(run(u"listPaired"_s).output, R"([{"id":"11-22-33-44-55-01","name":"Magic Mouse","isConnected":true}])");
  EXPECT_EQ(run(u"connect"_s, "11-22-33-44-55-01").output, "Already connected\n");
}

TEST_F(WorkerDbusmock, anAgentThatIsRegisteredAlreadyIsNoBondThatExists) {
  mock(u"AddDevice"_s, {u"hci0"_s, u"11:22:33:44:55:01"_s, u"Magic Mouse"_s});
  expectReply(message(u"/org/bluez"_s, u"org.freedesktop.DBus.Mock"_s, u"AddMethod"_s,
                      {u"org.bluez.AgentManager1"_s, u"RegisterAgent"_s, u"os"_s, u""_s,
                       u"raise dbus.exceptions.DBusException('', name='org.bluez.Error.AlreadyExists')"_s}));
  EXPECT_TRUE(run(u"connect"_s, "11-22-33-44-55-01").output.startsWith("Attempt 1: openConnection=0, connected="));
  EXPECT_NE(run(u"listPaired"_s).output, "[]") << "it was not removed";
}

TEST_F(WorkerDbusmock, removesAPairing) {
  addPaired(u"hci0"_s, u"11:22:33:44:55:01"_s, u"Magic Mouse"_s);
  const auto result = run(u"unregister"_s, "11-22-33-44-55-01");
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.output, "Removed pairing\n");
  EXPECT_EQ(run(u"listPaired"_s).output, "[]");
  EXPECT_EQ(run(u"unregister"_s, "11-22-33-44-55-01").exitStatus, 66);
}

TEST_F(WorkerDbusmock, ofTwoAdaptersUsesTheOneThatWasAskedFor) {
  mock(u"AddAdapter"_s, {u"hci1"_s, u"Dongle"_s});
  addPaired(u"hci0"_s, u"11:22:33:44:55:01"_s, u"inner"_s);
  addPaired(u"hci1"_s, u"11:22:33:44:55:02"_s, u"outer"_s);
  EXPECT_EQ(run(u"listPaired"_s).output, R"([{"id":"11-22-33-44-55-01","name":"inner","isConnected":false}])");
  environment.insert(u"ZOLVEX_ADAPTER"_s, u"01-02-03-04-05-06"_s);
  EXPECT_EQ(run(u"listPaired"_s).output, R"([{"id":"11-22-33-44-55-02","name":"outer","isConnected":false}])");
  EXPECT_EQ(run(u"unregister"_s, "11-22-33-44-55-01").exitStatus, 66);
}

TEST_F(WorkerDbusmock, ofTwoAdaptersPrefersTheOneThatIsPowered) {
  mock(u"AddAdapter"_s, {u"hci1"_s, u"Dongle"_s});
  addPaired(u"hci0"_s, u"11:22:33:44:55:01"_s, u"inner"_s);
  addPaired(u"hci1"_s, u"11:22:33:44:55:02"_s, u"outer"_s);
  setPowered(u"hci0"_s, false);
  EXPECT_EQ(run(u"listPaired"_s).output, R"([{"id":"11-22-33-44-55-02","name":"outer","isConnected":false}])");
  setPowered(u"hci1"_s, false);
  EXPECT_EQ(run(u"listPaired"_s).output, R"([{"id":"11-22-33-44-55-01","name":"inner","isConnected":false}])");
  EXPECT_EQ(run(u"unregister"_s, "11-22-33-44-55-01").exitStatus, 69);
}

}  // namespace
}  // namespace zolvex::test

#include "WorkerDbusmockTests.moc"
