#include "integration/worker/WorkerLab.h"
#include "support/EventLoop.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusVirtualObject>

namespace zolvex::test {
namespace {

using namespace Qt::StringLiterals;

class WorkerConnect : public WorkerLab {
 protected:
  static QByteArray attempts(int count, int status) {
    QByteArray lines;
    for (int attempt = 1; attempt <= count; ++attempt)
      lines += "Attempt " + QByteArray::number(attempt) + ": openConnection=" + QByteArray::number(status) +
               ", connected=false\n";
    return lines;
  }
};

TEST_F(WorkerConnect, findsPairsAndConnectsADeviceThatIsFree) {
  const auto result = connect(mouse);
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.output, "Not in range yet\nAttempt 1: openConnection=0, connected=true\n");
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(holder(mouse), laptop);
  EXPECT_EQ(connectedTo(mouse), laptop);
}

TEST_F(WorkerConnect, endsTheDiscoveryBeforeItPairs) {
  connect(mouse);
  EXPECT_EQ(answered.count(u"StartDiscovery"_s), 1);
  EXPECT_LT(answered.indexOf(u"StopDiscovery"_s), answered.indexOf(u"Pair"_s));
}

TEST_F(WorkerConnect, trustsTheDeviceOnceItIsBonded) {
  connect(mouse);
  EXPECT_LT(answered.indexOf(u"Pair"_s), answered.indexOf(u"Set"_s));
  EXPECT_LT(answered.indexOf(u"Set"_s), answered.indexOf(u"Connect"_s));
}

TEST_F(WorkerConnect, aPairedDeviceIsOnlyConnected) {
  bond(mouse);
  EXPECT_EQ(connect(mouse).exitStatus, 0);
  EXPECT_FALSE(answered.contains(u"Pair"_s));
  EXPECT_FALSE(answered.contains(u"StartDiscovery"_s));
  EXPECT_FALSE(answered.contains(u"RegisterAgent"_s));
}

TEST_F(WorkerConnect, aConnectedDeviceIsLeftAlone) {
  bond(mouse);
  radio.openLink(laptop, radio.addressOf(mouse));
  const auto result = connect(mouse);
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.output, "Already connected\n");
  for (const auto& member : {u"Pair"_s, u"Disconnect"_s, u"RemoveDevice"_s, u"StartDiscovery"_s})
    EXPECT_FALSE(answered.contains(member)) << member.toStdString();
}

TEST_F(WorkerConnect, takesEveryNotationOfTheAddress) {
  bond(mouse);
  radio.openLink(laptop, radio.addressOf(mouse));
  for (const auto* input :
       {"02-5A-00-00-00-03", "02:5A:00:00:00:03", "02-5a-00-00-00-03\n", " \r\n\t02:5a:00:00:00:03 \n"})
    EXPECT_EQ(run(u"connect"_s, input).output, "Already connected\n") << input;
}

TEST_F(WorkerConnect, whatIsNoAddressIsNotFoundAndNotLookedFor) {
  for (const auto* input :
       {"Magic Mouse", "02-5A-00-00-00", "02-5A-00-00-00-03-04", "02-5A-00-00-00-0G", "025A00000003",
        "02-5A:00-00-00-03", "/org/bluez/hci0/dev_02_5A_00_00_00_03", "02-5A-00-00-00-03;x"}) {
    const auto result = run(u"connect"_s, input);
    EXPECT_EQ(result.exitStatus, 66) << input;
    EXPECT_EQ(result.error, "Device not found\n") << input;
  }
  EXPECT_EQ(answered.count(u"GetManagedObjects"_s), answered.size());
}

TEST_F(WorkerConnect, inputThatIsNotUtf8IsNoAddressAtAll) {
  const auto result = run(u"connect"_s, "\xff\xfe");
  EXPECT_EQ(result.exitStatus, 64);
  EXPECT_EQ(result.error, "Missing Bluetooth device address\n");
  EXPECT_TRUE(answered.isEmpty());
}

TEST_F(WorkerConnect, anUnknownDeviceOutOfRangeIsNotFoundAfterTheDiscovery) {
  inject(u"out-of-range"_s);
  const auto result = connect(mouse);
  EXPECT_EQ(result.exitStatus, 66);
  EXPECT_EQ(result.output, "");
  EXPECT_GE(result.milliseconds, 6'000);
  EXPECT_TRUE(runUntil([&] { return answered.contains(u"StopDiscovery"_s); }));
}

TEST_F(WorkerConnect, aDeviceOfAnotherComputerIsNotFound) {
  radio.bond(u"Studio"_s, radio.addressOf(mouse));
  EXPECT_EQ(connect(mouse).exitStatus, 66);
  EXPECT_EQ(holder(mouse), u"Studio"_s);
}

TEST_F(WorkerConnect, aDeviceThatBecomesFreeDuringTheDiscoveryIsFound) {
  radio.bond(u"Studio"_s, radio.addressOf(mouse));
  afterAnswer(u"StartDiscovery"_s, 1, [this] { radio.release(u"Studio"_s, radio.addressOf(mouse)); });
  EXPECT_EQ(connect(mouse).exitStatus, 0);
  EXPECT_EQ(holder(mouse), laptop);
}

TEST_F(WorkerConnect, connectsAtTheThirdAttempt) {
  inject(u"third-attempt"_s);
  const auto result = connect(mouse);
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.output,
            "Not in range yet\n" + attempts(2, -536870186) + "Attempt 3: openConnection=0, connected=true\n");
}

TEST_F(WorkerConnect, aDeviceThatComesByItselfBetweenTwoAttemptsIsConnected) {
  bond(mouse);
  inject(u"asleep"_s);
  // The look at the device that follows the attempt is the last thing before the pause.
  afterAnswer(u"Connect"_s, 1, [this] {
    afterAnswer(u"GetManagedObjects"_s, 1, [this] {
      radio.liftAll();
      radio.openLink(laptop, radio.addressOf(mouse));
    });
  });
  const auto result = connect(mouse);
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.output, "Not in range yet\n" + attempts(1, -536870212) + "Connected\n");
}

TEST_F(WorkerConnect, neverConnectsAfterFiveAttempts) {
  bond(mouse);
  inject(u"asleep"_s);
  const auto result = connect(mouse);
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.output, "Not in range yet\n" + attempts(5, -536870212));
  EXPECT_EQ(result.error, "Connect failed\n");
  EXPECT_EQ(holder(mouse), laptop);  // a device that sleeps has not forgotten us
  EXPECT_FALSE(answered.contains(u"RemoveDevice"_s));
}

TEST_F(WorkerConnect, aDeviceThatRefusesToPairIsReportedAsNotPermitted) {
  inject(u"refuses-pairing"_s);
  const auto result = connect(mouse);
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.output, "Not in range yet\n" + attempts(5, -536870174));
}

// BlueZ calls the device connected for as long as the link of the refused pairing lasts.
TEST_F(WorkerConnect, theLinkOfARefusedPairingIsNoConnection) {
  inject(u"refuses-pairing"_s);
  EXPECT_FALSE(connect(mouse).output.contains("connected=true"));
  EXPECT_EQ(connect(mouse).output, "Not in range yet\n" + attempts(5, -536870174));
}

TEST_F(WorkerConnect, aLinkOnWhichTheDeviceRefusesToServeIsNoConnection) {
  bond(mouse);
  inject(u"refuses-connection"_s);
  const auto result = connect(mouse);
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.output, "Not in range yet\n" + attempts(5, -536870212));
  EXPECT_EQ(holder(mouse), laptop);
  EXPECT_FALSE(answered.contains(u"RemoveDevice"_s));
}

TEST_F(WorkerConnect, aBondThatTheDeviceHasForgottenIsMadeAnewAtTheThirdAttempt) {
  bond(mouse);
  inject(u"bond-forgotten"_s);
  const auto result = connect(mouse);
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.output,
            "Not in range yet\n" + attempts(2, -536870212) + "Attempt 3: openConnection=0, connected=true\n");
  EXPECT_EQ(answered.count(u"RemoveDevice"_s), 1);
  EXPECT_EQ(connectedTo(mouse), laptop);
}

// A second and third one would take longer than whoever runs the worker waits.
TEST_F(WorkerConnect, aBondThatIsGoneIsLookedForOnlyOnce) {
  bond(mouse);
  inject(u"bond-forgotten"_s);
  afterAnswer(u"RemoveDevice"_s, 1, [this] { inject(u"out-of-range"_s); });
  const auto result = connect(mouse);
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.output, "Not in range yet\n" + attempts(2, -536870212) +
                               "Attempt 3: openConnection=-536870208, connected=false\n"
                               "Attempt 4: openConnection=-536870208, connected=false\n"
                               "Attempt 5: openConnection=-536870208, connected=false\n");
  EXPECT_EQ(answered.count(u"StartDiscovery"_s), 1);
}

TEST_F(WorkerConnect, halfABondIsReplacedByAWholeOne) {
  inject(u"half-bonded"_s);
  const auto result = connect(mouse);
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.output, "Not in range yet\nAttempt 1: openConnection=0, connected=true\n");
  EXPECT_EQ(answered.count(u"RemoveDevice"_s), 1);
  EXPECT_EQ(holder(mouse), laptop);
}

TEST_F(WorkerConnect, withTheAdapterOffBluetoothIsOff) {
  bond(mouse);
  inject(u"adapter-off"_s);
  const auto result = connect(mouse);
  EXPECT_EQ(result.exitStatus, 69);
  EXPECT_EQ(result.error, "Bluetooth is off\n");
}

/// A service that takes note of the calls it gets and answers them all.
class CallRecorder : public QDBusVirtualObject {
 public:
  QString introspect(const QString&) const override { return {}; }
  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
    calls.append(message);
    connection.send(message.createReply(QVariant::fromValue<quint32>(1)));
    return true;
  }
  QList<QDBusMessage> calls;
};

class WorkerPasskey : public WorkerConnect {
 protected:
  void SetUp() override {
    WorkerConnect::SetUp();
    inject(u"wants-passkey"_s);
    ASSERT_TRUE(session.start());
    environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, session.address());
  }
  ~WorkerPasskey() override {
    for (const auto& name : {u"desktop"_s, u"other program"_s}) QDBusConnection::disconnectFromBus(name);
  }

  lab::PrivateBus session;
  CallRecorder notifications;
  CallRecorder otherAgent;
};

TEST_F(WorkerPasskey, isShownInANotification) {
  auto desktop = QDBusConnection::connectToBus(session.address(), u"desktop"_s);
  desktop.registerVirtualObject(u"/org/freedesktop/Notifications"_s, &notifications);
  ASSERT_TRUE(desktop.registerService(u"org.freedesktop.Notifications"_s));
  const auto result = connect(keyboard);
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.output, "Not in range yet\nAttempt 1: openConnection=0, connected=true\n");
  ASSERT_TRUE(runUntil([&] { return !notifications.calls.isEmpty(); }));
  const auto arguments = notifications.calls.constFirst().arguments();
  EXPECT_EQ(arguments.value(3).toString(), u"Pairing Magic Keyboard"_s);
  EXPECT_EQ(arguments.value(4).toString(), u"Type 123456 on the device, then press Return."_s);
}

TEST_F(WorkerPasskey, withoutADesktopPairsAllTheSame) {
  session.stop();
  EXPECT_EQ(connect(keyboard).exitStatus, 0);
  EXPECT_EQ(holder(keyboard), laptop);
}

TEST_F(WorkerPasskey, anotherProgramsDefaultAgentIsLeftAlone) {
  auto other = QDBusConnection::connectToBus(bus.address(), u"other program"_s);
  other.registerVirtualObject(u"/agent"_s, &otherAgent);
  const auto callManager = [&](const QString& member, const QVariantList& arguments) {
    auto call = QDBusMessage::createMethodCall(u"org.bluez"_s, u"/org/bluez"_s, u"org.bluez.AgentManager1"_s, member);
    call.setArguments(arguments);
    const QDBusPendingCallWatcher watcher(other.asyncCall(call));
    EXPECT_TRUE(runUntil([&] { return watcher.isFinished(); }));
    EXPECT_FALSE(watcher.isError()) << watcher.error().message().toStdString();
  };
  const auto path = QVariant::fromValue(QDBusObjectPath(u"/agent"_s));
  callManager(u"RegisterAgent"_s, {path, u"KeyboardDisplay"_s});
  callManager(u"RequestDefaultAgent"_s, {path});
  answered.clear();
  EXPECT_EQ(connect(keyboard).exitStatus, 0);
  EXPECT_TRUE(otherAgent.calls.isEmpty());
  EXPECT_FALSE(answered.contains(u"RequestDefaultAgent"_s));
  callManager(u"UnregisterAgent"_s, {path});  // it was still there
}

}  // namespace
}  // namespace zolvex::test
