#include "integration/worker/WorkerLab.h"
#include "support/EventLoop.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QProcess>
#include <QTemporaryFile>
#include <QTimer>

namespace zolvex::test {
namespace {

using namespace Qt::StringLiterals;

/// What may happen around a worker.
using WorkerMisfortune = WorkerLab;

TEST_F(WorkerMisfortune, badArgumentsAreAUsageError) {
  for (const auto& arguments : {QStringList{}, {u"CONNECT"_s}, {u"connect"_s, u"02-5A-00-00-00-03"_s}}) {
    const auto result = lab::runProgram({.program = QStringLiteral(ZOLVEX_PROGRAM),
                                         .arguments = QStringList{u"--zolvex-bluetooth-worker"_s} + arguments,
                                         .environment = environment});
    EXPECT_EQ(result.exitStatus, 64);
    EXPECT_EQ(result.error, "Invalid Bluetooth worker arguments\n");
    EXPECT_EQ(result.output, "");
  }
  EXPECT_TRUE(answered.isEmpty());
}

TEST_F(WorkerMisfortune, withoutABusBluetoothIsOff) {
  bus.stop();
  EXPECT_EQ(connect(mouse).exitStatus, 69);
  EXPECT_EQ(unregister(mouse).exitStatus, 69);
  for (const auto& address : {u""_s, u"nonsense"_s, u"unix:path="_s, u"tcp:host=127.0.0.1,port=1"_s}) {
    environment.insert(u"DBUS_SYSTEM_BUS_ADDRESS"_s, address);
    EXPECT_EQ(unregister(mouse).exitStatus, 69) << address.toStdString();
  }
}

TEST_F(WorkerMisfortune, withoutBlueZBluetoothIsOff) {
  inject(u"daemon-absent"_s);
  EXPECT_EQ(connect(mouse).exitStatus, 69);
  EXPECT_EQ(unregister(mouse).exitStatus, 69);
}

TEST_F(WorkerMisfortune, aDaemonThatRestartsDuringThePairingIsFoundAgain) {
  inject(u"daemon-restarts"_s);
  const auto result = connect(mouse);
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.output,
            "Not in range yet\nAttempt 1: openConnection=-536870186, connected=false\n"
            "Attempt 2: openConnection=0, connected=true\n");
  EXPECT_EQ(holder(mouse), laptop);
}

TEST_F(WorkerMisfortune, aDaemonThatRestartsDuringTheConnectionIsFoundAgain) {
  bond(mouse);
  inject(u"daemon-restarts"_s);
  const auto result = connect(mouse);
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.output,
            "Not in range yet\nAttempt 1: openConnection=-536870186, connected=false\n"
            "Attempt 2: openConnection=0, connected=true\n");
}

TEST_F(WorkerMisfortune, aDaemonThatStaysAwayDuringTheDiscoveryEndsIt) {
  inject(u"out-of-range"_s);
  afterAnswer(u"StartDiscovery"_s, 1, [this] { inject(u"daemon-absent"_s); });
  const auto result = connect(mouse);
  EXPECT_EQ(result.exitStatus, 66);
  EXPECT_LT(result.milliseconds, 5'000);
}

TEST_F(WorkerMisfortune, aBusThatDiesDuringTheDiscoveryEndsIt) {
  inject(u"out-of-range"_s);
  afterAnswer(u"StartDiscovery"_s, 1, [this] { bus.stop(); });
  const auto result = connect(mouse);
  EXPECT_EQ(result.exitStatus, 66);
  EXPECT_LT(result.milliseconds, 5'000);
}

// Each stranger is an announcement, and a look at all that BlueZ knows takes as long as BlueZ likes.
TEST_F(WorkerMisfortune, aCrowdOfStrangersDoesNotProlongTheDiscovery) {
  inject(u"out-of-range:Magic Mouse"_s);
  constexpr int strangers = 60;
  constexpr std::chrono::milliseconds untilAnswer{300};
  afterAnswer(u"StartDiscovery"_s, 1, [this] {
    for (int i = 0; i < strangers; ++i)
      radio.addDevice({.address = u"02:5A:00:00:02:%1"_s.arg(i, 2, 10, QLatin1Char('0')), .name = u"Stranger"_s});
  });
  bluez->holdCalls(true);
  QTimer daemon;
  QObject::connect(&daemon, &QTimer::timeout, bluez.get(), [this] {
    bluez->holdCalls(false);
    bluez->holdCalls(true);
  });
  daemon.start(untilAnswer);
  const auto result = connect(mouse);
  EXPECT_EQ(result.exitStatus, 66);
  EXPECT_EQ(answered.count(u"StartDiscovery"_s), 1);
  EXPECT_LT(answered.count(u"GetManagedObjects"_s), strangers / 2);
  EXPECT_LT(result.milliseconds, 10'000);
}

TEST_F(WorkerMisfortune, aBusThatDiesDuringThePairingEndsEveryAttemptAtOnce) {
  inject(u"hangs-on-pair"_s);
  afterAnswer(u"RegisterAgent"_s, 1, [this] { bus.stop(); });
  const auto result = connect(mouse);
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.output.count("Attempt "), 5);
  EXPECT_EQ(result.output.count("openConnection=0,"), 0);
  EXPECT_EQ(result.error, "Connect failed\n");
  EXPECT_LT(result.milliseconds, 15'000);
}

TEST_F(WorkerMisfortune, aBusThatDiesDuringTheRemovalHasRemovedNothing) {
  bond(mouse);
  inject(u"hangs-on-remove"_s);
  static constexpr std::chrono::milliseconds untilRemovalRuns{300};
  afterAnswer(u"GetManagedObjects"_s, 1,
              [this] { QTimer::singleShot(untilRemovalRuns, bluez.get(), [this] { bus.stop(); }); });
  const auto result = unregister(mouse);
  EXPECT_EQ(result.exitStatus, 70);
  EXPECT_LT(result.milliseconds, 5'000);
}

// BlueZ withdraws the device then, and never answers the call.
TEST_F(WorkerMisfortune, anAdapterThatIsUnpluggedDuringTheConnectionEndsTheAttempt) {
  bond(mouse);
  inject(u"hangs-on-connect"_s);
  static constexpr std::chrono::milliseconds untilConnectRuns{300};
  afterAnswer(u"Set"_s, 1, [this] {
    QTimer::singleShot(untilConnectRuns, bluez.get(), [this] { inject(u"adapter-unplugged"_s); });
  });
  const auto result = connect(mouse);
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.error, "Connect failed\n");
  EXPECT_LT(result.milliseconds, 10'000);
}

// The end of the device is all that tells of it then.
TEST_F(WorkerMisfortune, anAdapterThatIsUnpluggedWhileTheDaemonStaysSilentEndsTheAttempt) {
  bond(mouse);
  inject(u"hangs-on-connect"_s);
  inject(u"connect-reply-lost"_s);
  static constexpr std::chrono::milliseconds untilConnectRuns{300};
  afterAnswer(u"Set"_s, 1, [this] {
    QTimer::singleShot(untilConnectRuns, bluez.get(), [this] { inject(u"adapter-unplugged"_s); });
  });
  const auto result = connect(mouse);
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.error, "Connect failed\n");
  EXPECT_FALSE(answered.contains(u"Connect"_s));
  EXPECT_LT(result.milliseconds, 10'000);
}

TEST_F(WorkerMisfortune, anAdapterThatIsUnpluggedDuringThePairingEndsTheAttempt) {
  inject(u"hangs-on-pair"_s);
  static constexpr std::chrono::milliseconds untilPairRuns{300};
  afterAnswer(u"RegisterAgent"_s, 1,
              [this] { QTimer::singleShot(untilPairRuns, bluez.get(), [this] { inject(u"adapter-unplugged"_s); }); });
  const auto result = connect(mouse);
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_LT(result.milliseconds, 10'000);
}

TEST_F(WorkerMisfortune, aHangingPairingEndsWithTheWorkerAndTheNextRunSucceeds) {
  inject(u"hangs-on-pair"_s);
  const auto result = lab::runProgram({.program = QStringLiteral(ZOLVEX_PROGRAM),
                                       .arguments = {u"--zolvex-bluetooth-worker"_s, u"connect"_s},
                                       .input = printed(mouse),
                                       .environment = environment,
                                       .limit = std::chrono::milliseconds(700)});
  EXPECT_TRUE(result.timedOut);
  radio.liftAll();
  EXPECT_EQ(connect(mouse).exitStatus, 0);
}

// The second one is told that a pairing, or a connection, is in progress, and waits for its end.
TEST_F(WorkerMisfortune, aPairingOfAnotherProgramIsWaitedFor) {
  bluez->setLatency(std::chrono::milliseconds(300));
  QProcess second;
  afterAnswer(u"RegisterAgent"_s, 1, [&] {
    second.setProcessEnvironment(environment);
    second.start(QStringLiteral(ZOLVEX_PROGRAM), {u"--zolvex-bluetooth-worker"_s, u"connect"_s});
    second.write(printed(mouse));
    second.closeWriteChannel();
  });
  EXPECT_EQ(connect(mouse).exitStatus, 0);
  ASSERT_TRUE(runUntil([&] { return second.state() == QProcess::NotRunning; }));
  EXPECT_EQ(second.exitCode(), 0);
  EXPECT_EQ(second.readAllStandardOutput().count("Attempt 2"), 0);
  EXPECT_EQ(connectedTo(mouse), laptop);
}

// The worker is told twice that it is in progress: when it looks whether the device is in use, and when it connects it.
TEST_F(WorkerMisfortune, aConnectionOfAnotherProgramIsWaitedFor) {
  bond(mouse);
  inject(u"hangs-on-connect"_s);
  const auto path = u"/org/bluez/hci0/dev_"_s + radio.addressOf(mouse).replace(u':', u'_');
  auto other = QDBusConnection::connectToBus(bus.address(), u"other program"_s);
  other.send(QDBusMessage::createMethodCall(u"org.bluez"_s, path, u"org.bluez.Device1"_s, u"Connect"_s));
  // Is answered after the first call has arrived.
  const QDBusPendingCallWatcher next(other.asyncCall(QDBusMessage::createMethodCall(
      u"org.bluez"_s, u"/"_s, u"org.freedesktop.DBus.ObjectManager"_s, u"GetManagedObjects"_s)));
  ASSERT_TRUE(runUntil([&] { return next.isFinished(); }));
  afterAnswer(u"Connect"_s, 2, [this] { radio.liftAll(); });
  const auto result = connect(mouse);
  QDBusConnection::disconnectFromBus(u"other program"_s);
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.output, "Not in range yet\nAttempt 1: openConnection=0, connected=true\n");
  EXPECT_EQ(connectedTo(mouse), laptop);
}

// Nobody would stop a worker that hangs when the program that started it was killed.
TEST_F(WorkerMisfortune, anOrphanEndsByItself) {
  inject(u"hangs-on-pair"_s);
  QTemporaryFile address;
  ASSERT_TRUE(address.open());
  address.write(printed(mouse));
  address.close();
  bool workerLeft = false;
  QObject::connect(bluez.get(), &lab::BluezService::clientLeft, bluez.get(), [&] { workerLeft = true; });
  QProcess parent;
  afterAnswer(u"RegisterAgent"_s, 1, [&] { parent.kill(); });
  parent.setProcessEnvironment(environment);
  parent.start(u"/bin/sh"_s, {u"-c"_s, u"\"$0\" --zolvex-bluetooth-worker connect < \"$1\"; exit 0"_s,
                              QStringLiteral(ZOLVEX_PROGRAM), address.fileName()});
  EXPECT_TRUE(runUntil([&] { return workerLeft; }));
  parent.waitForFinished();
}

}  // namespace
}  // namespace zolvex::test
