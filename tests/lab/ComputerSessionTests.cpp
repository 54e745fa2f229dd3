#include "lab/EventWait.h"
#include "lab/ServiceClient.h"
#include "lab/bus/BusNames.h"
#include "lab/session/ComputerSession.h"

#include <QDBusUnixFileDescriptor>
#include <QDBusVariant>
#include <gtest/gtest.h>

#include <optional>

namespace zolvex::lab {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

const auto gnomePath = u"/org/gnome/ScreenSaver"_s;
const auto gnomeInterface = u"org.gnome.ScreenSaver"_s;
const auto freedesktopPath = u"/org/freedesktop/ScreenSaver"_s;
const auto freedesktopInterface = u"org.freedesktop.ScreenSaver"_s;
const auto displayPath = u"/org/gnome/Mutter/DisplayConfig"_s;
const auto displayInterface = u"org.gnome.Mutter.DisplayConfig"_s;

/// One bus serves as both.
class ComputerSessionTest : public testing::Test {
 protected:
  ComputerSessionTest() : session(u"Laptop"_s, {.inhibitDelayMax = 50ms}) {}

  void SetUp() override {
    ASSERT_TRUE(bus.start()) << bus.errorString().toStdString();
    ASSERT_TRUE(session.start(bus.address(), bus.address()));
    gnome.emplace(bus.address(), gnomeInterface);
    gnome->follow(gnomeInterface, u"ActiveChanged"_s);
    freedesktop.emplace(bus.address(), freedesktopInterface);
    freedesktop->follow(freedesktopInterface, u"ActiveChanged"_s);
    display.emplace(bus.address(), displayInterface);
    QObject::connect(&session, &ComputerSession::happened, &session, [this](const QString& what) { log.append(what); });
  }

  /// The outcome's text; what is refused begins with "no: ".
  QString perform(SessionAct act) {
    std::optional<ActOutcome> outcome;
    session.perform(act, [&](const ActOutcome& end) { outcome = end; });
    EXPECT_TRUE(waitUntil([&] { return outcome.has_value(); }, 5s));
    return outcome ? (outcome->isDone ? outcome->text : u"no: "_s + outcome->text) : QString();
  }

  int powerSaveMode() { return display->property(displayPath, displayInterface, u"PowerSaveMode"_s).toInt(); }
  static bool hears(ServiceClient& client, const QString& entry) {
    return waitUntil([&] { return client.signalLog.contains(entry); }, 5s);
  }

  PrivateBus bus;
  ComputerSession session;
  std::optional<ServiceClient> gnome;
  std::optional<ServiceClient> freedesktop;
  std::optional<ServiceClient> display;
  QStringList log;
};

TEST_F(ComputerSessionTest, lockAndUnlockShowAtEveryScreenSaver) {
  EXPECT_EQ(perform(SessionAct::lock), u"Laptop is locked"_s);
  EXPECT_TRUE(hears(*gnome, u"ActiveChanged /org/gnome/ScreenSaver true"_s));
  EXPECT_TRUE(hears(*freedesktop, u"ActiveChanged /org/freedesktop/ScreenSaver true"_s));
  EXPECT_TRUE(hears(*freedesktop, u"ActiveChanged /ScreenSaver true"_s));
  EXPECT_EQ(gnome->call(gnomePath, gnomeInterface, u"GetActive"_s).arguments().value(0), true);
  EXPECT_EQ(freedesktop->call(freedesktopPath, freedesktopInterface, u"GetActive"_s).arguments().value(0), true);
  EXPECT_EQ(perform(SessionAct::unlock), u"Laptop is unlocked"_s);
  EXPECT_TRUE(hears(*gnome, u"ActiveChanged /org/gnome/ScreenSaver false"_s));
  EXPECT_EQ(log, (QStringList{u"is locked"_s, u"is unlocked"_s}));
}

TEST_F(ComputerSessionTest, programsLockByTheScreenSaver) {
  gnome->call(gnomePath, gnomeInterface, u"Lock"_s);
  EXPECT_TRUE(session.screen().isLocked());
  gnome->call(gnomePath, gnomeInterface, u"SetActive"_s, {false});
  EXPECT_FALSE(session.screen().isLocked());
}

TEST_F(ComputerSessionTest, darkDisplayIsLitByWhoSimulatesActivity) {
  EXPECT_EQ(perform(SessionAct::displayOff), u"Laptop has its display off"_s);
  EXPECT_TRUE(hears(*display, u"PowerSaveMode=3 /org/gnome/Mutter/DisplayConfig"_s));
  EXPECT_EQ(powerSaveMode(), 3);
  freedesktop->call(freedesktopPath, freedesktopInterface, u"SimulateUserActivity"_s);
  EXPECT_TRUE(hears(*display, u"PowerSaveMode=0 /org/gnome/Mutter/DisplayConfig"_s));
  EXPECT_EQ(log.mid(1), (QStringList{u"is told of user activity by a program"_s, u"has its display on"_s}));
  // GNOME's own interface has no such method.
  EXPECT_EQ(gnome->call(gnomePath, gnomeInterface, u"SimulateUserActivity"_s).errorName(),
            u"org.freedesktop.DBus.Error.UnknownMethod"_s);
}

TEST_F(ComputerSessionTest, displayIsSwitchedByItsProperty) {
  const auto set = [&](const QVariant& mode) {
    return display->call(displayPath, propertiesInterface, u"Set"_s,
                         {displayInterface, u"PowerSaveMode"_s, QVariant::fromValue(QDBusVariant(mode))});
  };
  EXPECT_EQ(set(3).type(), QDBusMessage::ReplyMessage);
  EXPECT_FALSE(session.screen().isLit());
  EXPECT_EQ(set(0).type(), QDBusMessage::ReplyMessage);
  EXPECT_TRUE(session.screen().isLit());
  EXPECT_EQ(set(u"off"_s).type(), QDBusMessage::ErrorMessage);
}

TEST_F(ComputerSessionTest, whatIsSoAlreadyIsRefused) {
  EXPECT_EQ(perform(SessionAct::unlock), u"no: Laptop is unlocked already"_s);
  EXPECT_EQ(perform(SessionAct::displayOn), u"no: Laptop has its display on already"_s);
  EXPECT_EQ(perform(SessionAct::wake), u"no: Laptop is not asleep"_s);
  EXPECT_TRUE(log.isEmpty());
}

TEST_F(ComputerSessionTest, sleepingComputerOnlyWakes) {
  EXPECT_TRUE(perform(SessionAct::sleep).startsWith(u"Laptop is asleep after "_s));
  EXPECT_TRUE(session.isAsleep());
  EXPECT_EQ(perform(SessionAct::sleep), u"no: Laptop is asleep already"_s);
  EXPECT_EQ(perform(SessionAct::lock), u"no: Laptop is asleep"_s);
  EXPECT_EQ(perform(SessionAct::displayOff), u"no: Laptop is asleep"_s);
  EXPECT_EQ(perform(SessionAct::wake), u"Laptop is awake"_s);
  EXPECT_FALSE(session.isAsleep());
  EXPECT_EQ(log.last(), u"wakes up"_s);
}

TEST_F(ComputerSessionTest, whoHoldsSleepUpForTooLongIsNamed) {
  ServiceClient logind(bus.address(), u"org.freedesktop.login1"_s);
  const auto lock = logind.call(u"/org/freedesktop/login1"_s, u"org.freedesktop.login1.Manager"_s, u"Inhibit"_s,
                                {u"sleep"_s, u"Test"_s, u"Because"_s, u"delay"_s});
  const auto text = perform(SessionAct::sleep);
  EXPECT_TRUE(text.endsWith(u" ms, the most that Test could hold it up"_s)) << text.toStdString();
  EXPECT_EQ(log.first(), u"goes to sleep, held up by Test"_s);
}

TEST_F(ComputerSessionTest, secondSleepIsRefusedWhileTheFirstIsHeldUp) {
  ServiceClient logind(bus.address(), u"org.freedesktop.login1"_s);
  const auto lock = logind.call(u"/org/freedesktop/login1"_s, u"org.freedesktop.login1.Manager"_s, u"Inhibit"_s,
                                {u"sleep"_s, u"Test"_s, u"Because"_s, u"delay"_s});
  int done = 0;
  session.perform(SessionAct::sleep, [&](const ActOutcome& outcome) { done += outcome.isDone ? 1 : 0; });
  EXPECT_EQ(perform(SessionAct::sleep), u"no: Laptop is going to sleep already"_s);
  EXPECT_EQ(perform(SessionAct::lock), u"Laptop is locked"_s);
  EXPECT_TRUE(waitUntil([&] { return done == 1; }, 5s));
}

TEST_F(ComputerSessionTest, blockedSleepSaysSo) {
  ServiceClient logind(bus.address(), u"org.freedesktop.login1"_s);
  const auto lock = logind.call(u"/org/freedesktop/login1"_s, u"org.freedesktop.login1.Manager"_s, u"Inhibit"_s,
                                {u"sleep"_s, u"Test"_s, u"Because"_s, u"block"_s});
  EXPECT_EQ(perform(SessionAct::sleep), u"no: Laptop cannot sleep: Access denied due to active block inhibitor"_s);
  EXPECT_FALSE(session.isAsleep());
}

}  // namespace
}  // namespace zolvex::lab
