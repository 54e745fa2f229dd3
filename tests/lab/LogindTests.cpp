#include "lab/EventWait.h"
#include "lab/ServiceClient.h"
#include "lab/session/Logind.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <gtest/gtest.h>

#include <optional>
#include <unistd.h>

namespace zolvex::lab {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

const auto managerPath = u"/org/freedesktop/login1"_s;
const auto managerInterface = u"org.freedesktop.login1.Manager"_s;
const auto sessionInterface = u"org.freedesktop.login1.Session"_s;
const auto goingToSleep = u"PrepareForSleep /org/freedesktop/login1 true"_s;
const auto wokenUp = u"PrepareForSleep /org/freedesktop/login1 false"_s;
const auto operationInProgress = u"org.freedesktop.login1.OperationInProgress"_s;
constexpr std::chrono::milliseconds shortDelay = 50ms;

class LogindTest : public testing::Test {
 protected:
  explicit LogindTest(LogindOptions options = {}) : logind(screen, options) {}

  void SetUp() override {
    ASSERT_TRUE(bus.start()) << bus.errorString().toStdString();
    ASSERT_TRUE(logind.start(bus.address()));
    client.emplace(bus.address(), u"org.freedesktop.login1"_s);
    client->follow(managerInterface, u"PrepareForSleep"_s);
    client->follow(sessionInterface, u"Lock"_s);
    client->follow(sessionInterface, u"Unlock"_s);
    QObject::connect(&logind, &Logind::fellAsleep, &logind,
                     [this](const QString& heldUpBy) { endedDelays.append(heldUpBy); });
  }

  QDBusMessage manager(const QString& member, const QVariantList& arguments = {}) {
    return client->call(managerPath, managerInterface, member, arguments);
  }

  QDBusMessage inhibit(const QString& what, const QString& mode) {
    return manager(u"Inhibit"_s, {what, u"Test"_s, u"Because"_s, mode});
  }

  /// The lock is held until this is destroyed.
  QDBusUnixFileDescriptor lockOf(const QDBusMessage& reply) {
    return reply.arguments().value(0).value<QDBusUnixFileDescriptor>();
  }

  QString pathFrom(const QDBusMessage& reply) { return reply.arguments().value(0).value<QDBusObjectPath>().path(); }
  QVariant managerProperty(const QString& name) { return client->property(managerPath, managerInterface, name); }
  bool hears(const QString& entry) {
    return waitUntil([&] { return client->signalLog.contains(entry); }, 5s);
  }
  bool fallsAsleep() {
    return waitUntil([&] { return logind.sleepState() == Logind::SleepState::asleep; }, 5s);
  }

  PrivateBus bus;
  Screen screen;
  Logind logind;
  std::optional<ServiceClient> client;
  QStringList endedDelays;
};

TEST_F(LogindTest, sleepIsAnnouncedAndComesAtOnceWhenNobodyHoldsItUp) {
  EXPECT_FALSE(logind.sleep());
  EXPECT_EQ(logind.sleepState(), Logind::SleepState::asleep);
  EXPECT_TRUE(hears(goingToSleep));
  EXPECT_EQ(endedDelays, QStringList{QString()});
}

TEST_F(LogindTest, delayLockHoldsSleepUpUntilItsLastCopyIsClosed) {
  auto reply = inhibit(u"sleep"_s, u"delay"_s);
  auto lock = std::optional(lockOf(reply));
  const auto copy = dup(lock->fileDescriptor());
  reply = {};
  EXPECT_FALSE(logind.sleep());
  EXPECT_TRUE(hears(goingToSleep));
  EXPECT_EQ(logind.sleepState(), Logind::SleepState::preparing);
  lock.reset();
  EXPECT_EQ(managerProperty(u"DelayInhibited"_s), u"sleep"_s);
  EXPECT_EQ(logind.sleepState(), Logind::SleepState::preparing);
  close(copy);
  EXPECT_TRUE(fallsAsleep());
  EXPECT_EQ(endedDelays, QStringList{QString()});
}

TEST_F(LogindTest, lockOnShutdownDoesNotHoldSleepUp) {
  const auto lock = lockOf(inhibit(u"shutdown"_s, u"delay"_s));
  EXPECT_FALSE(logind.sleep());
  EXPECT_EQ(logind.sleepState(), Logind::SleepState::asleep);
}

TEST_F(LogindTest, locksShowInThePropertiesAndTheList) {
  auto reply = inhibit(u"sleep:shutdown"_s, u"delay"_s);
  auto lock = std::optional(lockOf(reply));
  reply = {};
  EXPECT_TRUE(hears(u"DelayInhibited=shutdown:sleep /org/freedesktop/login1"_s));
  EXPECT_EQ(managerProperty(u"BlockInhibited"_s), QString());
  EXPECT_EQ(managerProperty(u"NCurrentInhibitors"_s).toUInt(), 1u);
  const auto list = manager(u"ListInhibitors"_s);
  EXPECT_EQ(list.signature(), u"a(ssssuu)"_s);
  const auto all = logind.inhibitors().all();
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(all[0].who, u"Test"_s);
  EXPECT_EQ(all[0].process, static_cast<quint32>(getpid()));
  EXPECT_EQ(all[0].user, getuid());
  lock.reset();
  EXPECT_TRUE(hears(u"DelayInhibited= /org/freedesktop/login1"_s));
}

TEST_F(LogindTest, blockLockRefusesSleep) {
  const auto lock = lockOf(inhibit(u"sleep"_s, u"block"_s));
  EXPECT_EQ(manager(u"Suspend"_s, {false}).errorName(), u"org.freedesktop.DBus.Error.AccessDenied"_s);
  EXPECT_EQ(logind.sleepState(), Logind::SleepState::awake);
  EXPECT_FALSE(client->signalLog.contains(goingToSleep));
}

TEST_F(LogindTest, programsMayAskForSleep) {
  EXPECT_EQ(manager(u"Suspend"_s, {false}).type(), QDBusMessage::ReplyMessage);
  EXPECT_EQ(logind.sleepState(), Logind::SleepState::asleep);
  EXPECT_EQ(manager(u"Suspend"_s, {false}).errorName(), operationInProgress);
}

TEST_F(LogindTest, noLockIsGrantedFromTheAnnouncementToTheWake) {
  auto reply = inhibit(u"sleep"_s, u"delay"_s);
  auto lock = std::optional(lockOf(reply));
  reply = {};
  EXPECT_FALSE(logind.sleep());
  EXPECT_EQ(inhibit(u"sleep"_s, u"delay"_s).errorName(), operationInProgress);
  EXPECT_EQ(inhibit(u"idle"_s, u"block"_s).type(), QDBusMessage::ReplyMessage);
  lock.reset();
  ASSERT_TRUE(fallsAsleep());
  EXPECT_EQ(inhibit(u"sleep"_s, u"delay"_s).errorName(), operationInProgress);
  logind.wake();
  EXPECT_EQ(inhibit(u"sleep"_s, u"delay"_s).type(), QDBusMessage::ReplyMessage);
}

TEST_F(LogindTest, whatItDoesNotKnowIsNotInhibited) {
  const auto invalid = u"org.freedesktop.DBus.Error.InvalidArgs"_s;
  EXPECT_EQ(inhibit(u"sleep:dream"_s, u"delay"_s).errorName(), invalid);
  EXPECT_EQ(inhibit({}, u"delay"_s).errorName(), invalid);
  EXPECT_EQ(inhibit(u"sleep"_s, u"ask"_s).errorName(), invalid);
  EXPECT_EQ(inhibit(u"idle"_s, u"delay"_s).errorName(), invalid);
}

TEST_F(LogindTest, wakeIsAnnouncedWhenEverythingGoesOn) {
  EXPECT_FALSE(logind.sleep());
  EXPECT_EQ(managerProperty(u"PreparingForSleep"_s), true);
  QString atWake;
  QObject::connect(&logind, &Logind::wakesUp, &logind, [&] { atWake = client->signalLog.join(u','); });
  logind.wake();
  EXPECT_EQ(atWake, goingToSleep);
  EXPECT_TRUE(hears(wokenUp));
  EXPECT_EQ(managerProperty(u"PreparingForSleep"_s), false);
  // Its changes are not told as such.
  EXPECT_EQ(client->signalLog, (QStringList{goingToSleep, wokenUp}));
}

TEST_F(LogindTest, wakeOfAComputerThatIsAwakeIsNothing) {
  logind.wake();
  EXPECT_EQ(managerProperty(u"PreparingForSleep"_s), false);
  EXPECT_TRUE(client->signalLog.isEmpty());
}

TEST_F(LogindTest, sessionIsFoundByWhoIsInNone) {
  EXPECT_EQ(pathFrom(manager(u"GetSession"_s, {u"auto"_s})), Logind::sessionPath());
  EXPECT_EQ(pathFrom(manager(u"GetSession"_s, {Logind::sessionId()})), Logind::sessionPath());
  EXPECT_EQ(manager(u"GetSession"_s, {u"self"_s}).errorName(), u"org.freedesktop.login1.NoSessionForPID"_s);
  EXPECT_EQ(manager(u"GetSessionByPID"_s, {0u}).errorName(), u"org.freedesktop.login1.NoSessionForPID"_s);
  EXPECT_EQ(manager(u"GetSession"_s, {u"77"_s}).errorName(), u"org.freedesktop.login1.NoSuchSession"_s);
  EXPECT_EQ(manager(u"ListSessions"_s).signature(), u"a(susso)"_s);
  const auto automatic = u"/org/freedesktop/login1/session/auto"_s;
  EXPECT_EQ(client->property(automatic, sessionInterface, u"Id"_s), Logind::sessionId());
  EXPECT_EQ(client->property(automatic, sessionInterface, u"Active"_s), true);
  EXPECT_FALSE(client->property(u"/org/freedesktop/login1/session/self"_s, sessionInterface, u"Id"_s).isValid());
}

TEST_F(LogindTest, usersDisplayIsTheSession) {
  const auto path = pathFrom(manager(u"GetUser"_s, {quint32{getuid()}}));
  const auto display = client->property(path, u"org.freedesktop.login1.User"_s, u"Display"_s).value<QDBusArgument>();
  QString id;
  QDBusObjectPath session;
  display.beginStructure();
  display >> id >> session;
  display.endStructure();
  EXPECT_EQ(id, Logind::sessionId());
  EXPECT_EQ(session.path(), Logind::sessionPath());
  EXPECT_EQ(manager(u"GetUser"_s, {quint32{getuid() + 1}}).errorName(), u"org.freedesktop.login1.NoSuchUser"_s);
}

TEST_F(LogindTest, lockIsAskedForDoneAndHinted) {
  EXPECT_EQ(manager(u"LockSession"_s, {Logind::sessionId()}).type(), QDBusMessage::ReplyMessage);
  EXPECT_TRUE(screen.isLocked());
  EXPECT_TRUE(hears(u"LockedHint=true "_s + Logind::sessionPath()));
  client->call(u"/org/freedesktop/login1/session/auto"_s, sessionInterface, u"Unlock"_s);
  EXPECT_FALSE(screen.isLocked());
  EXPECT_TRUE(hears(u"LockedHint=false "_s + Logind::sessionPath()));
  // Signals come from the session by its name only.
  const auto from = u' ' + Logind::sessionPath();
  EXPECT_EQ(client->signalLog, (QStringList{u"Lock"_s + from, u"LockedHint=true"_s + from, u"Unlock"_s + from,
                                            u"LockedHint=false"_s + from}));
}

TEST_F(LogindTest, hintMayBeSetWithoutALock) {
  client->call(Logind::sessionPath(), sessionInterface, u"SetLockedHint"_s, {true});
  EXPECT_EQ(client->property(Logind::sessionPath(), sessionInterface, u"LockedHint"_s), true);
  EXPECT_FALSE(screen.isLocked());
}

class ImpatientLogind : public LogindTest {
 protected:
  ImpatientLogind() : LogindTest({.inhibitDelayMax = shortDelay}) {}
};

TEST_F(ImpatientLogind, sleepComesAtTheLimitWhoeverHoldsItUp) {
  const auto lock = lockOf(inhibit(u"sleep"_s, u"delay"_s));
  EXPECT_EQ(managerProperty(u"InhibitDelayMaxUSec"_s).toULongLong(), 50'000u);
  EXPECT_FALSE(logind.sleep());
  EXPECT_EQ(logind.sleepState(), Logind::SleepState::preparing);
  EXPECT_TRUE(fallsAsleep());
  EXPECT_EQ(endedDelays, QStringList{u"Test"_s});
}

class LogindOfATerminal : public LogindTest {
 protected:
  LogindOfATerminal() : LogindTest({.callersAreInSession = true}) {}
};

TEST_F(LogindOfATerminal, sessionIsTheCallersOwn) {
  EXPECT_EQ(pathFrom(manager(u"GetSession"_s, {u"self"_s})), Logind::sessionPath());
  EXPECT_EQ(pathFrom(manager(u"GetSessionByPID"_s, {0u})), Logind::sessionPath());
  const auto own = u"/org/freedesktop/login1/session/self"_s;
  EXPECT_EQ(client->property(own, sessionInterface, u"Id"_s), Logind::sessionId());
}

}  // namespace
}  // namespace zolvex::lab
