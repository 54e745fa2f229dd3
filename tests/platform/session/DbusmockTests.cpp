#include "platform/linux/LinuxSession.h"
#include "platform/session/SessionWorld.h"
#include "support/ProgramRun.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QFile>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

const auto python = u"/usr/bin/python3"_s;
const auto mockInterface = u"org.freedesktop.DBus.Mock"_s;
const auto managerPath = u"/org/freedesktop/login1"_s;

bool hasDbusmock() {
  return QFile::exists(python) && ProgramRun(python, {u"-c"_s, u"import dbusmock"_s}).exitStatus() == 0;
}

/// The whole session as the program has it, on independent imitations of logind and GNOME's screen saver.
struct DbusmockTest : SessionWorld {
  void SetUp() override {
    if (!hasDbusmock()) GTEST_SKIP() << "python3-dbusmock is not installed";
    qputenv("XDG_SESSION_ID", "c1");
    connectLink();
    runMock(logindMock, u"logind"_s, u"--system"_s, u"org.freedesktop.login1"_s);
    callMock(managerPath, u"AddSession"_s, {u"c1"_s, u"seat0"_s, uint{1000}, u"user"_s, true});
    runMock(screenSaverMock, u"gnome_screensaver"_s, u"--session"_s, u"org.gnome.ScreenSaver"_s);
    session.start();
  }
  void TearDown() override { qunsetenv("XDG_SESSION_ID"); }

  void runMock(std::optional<ProgramRun>& mock, const QString& bareTemplate, const QString& which,
               const QString& name) {
    mock.emplace(python, QStringList{u"-u"_s, u"-m"_s, u"dbusmock"_s, which, u"--template"_s, bareTemplate},
                 ProgramRun::Variables{{u"DBUS_SYSTEM_BUS_ADDRESS"_s, bus.address()},
                                       {u"DBUS_SESSION_BUS_ADDRESS"_s, bus.address()}});
    auto* names = link.connection().interface();
    ASSERT_TRUE(runUntil([&] { return names->isServiceRegistered(name).value(); })) << mock->errors();
  }
  QDBusMessage call(const QString& service, const QString& path, const QString& interface, const QString& method,
                    const QVariantList& arguments) {
    auto message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    const auto pending = link.connection().asyncCall(message);
    EXPECT_TRUE(runUntil([&] { return pending.isFinished(); }));
    EXPECT_FALSE(pending.isError()) << pending.error().message().toStdString();
    return pending.reply();
  }
  void callMock(const QString& path, const QString& method, const QVariantList& arguments) {
    call(u"org.freedesktop.login1"_s, path, mockInterface, method, arguments);
  }
  void callSession(const QString& method, const QVariantList& arguments = {}) {
    call(u"org.freedesktop.login1"_s, managerPath + u"/session/c1"_s, u"org.freedesktop.login1.Session"_s, method,
         arguments);
  }
  void callScreenSaver(const QString& method, const QVariantList& arguments) {
    call(u"org.gnome.ScreenSaver"_s, u"/org/gnome/ScreenSaver"_s, u"org.gnome.ScreenSaver"_s, method, arguments);
  }
  void prepareForSleep(bool isGoingToSleep) {
    callMock(managerPath, u"EmitSignal"_s,
             {u"org.freedesktop.login1.Manager"_s, u"PrepareForSleep"_s, u"b"_s, QVariantList{isGoingToSleep}});
  }
  qsizetype inhibitors() {
    const auto reply =
        call(u"org.freedesktop.login1"_s, managerPath, u"org.freedesktop.login1.Manager"_s, u"ListInhibitors"_s, {});
    const auto list = reply.arguments().value(0).value<QDBusArgument>();
    qsizetype count = 0;
    for (list.beginArray(); !list.atEnd(); ++count) {
      QString what, who, why, mode;
      uint user = 0, process = 0;
      list.beginStructure();
      list >> what >> who >> why >> mode >> user >> process;
      list.endStructure();
    }
    list.endArray();
    return count;
  }
  [[nodiscard]] bool inhibitorsBecome(qsizetype count) {
    return runUntil([&] { return inhibitors() == count; });
  }

  LinuxSession session{queue, link, link};
  EventRecorder sessionRecorder{session.events()};
  std::optional<ProgramRun> logindMock;
  std::optional<ProgramRun> screenSaverMock;
};

TEST_F(DbusmockTest, sleepWaitsForUsAndWakeTakesTheInhibitorAgain) {
  ASSERT_TRUE(inhibitorsBecome(1));
  prepareForSleep(true);
  ASSERT_TRUE(sessionRecorder.become({SessionEvent::systemWillSleep}));
  EXPECT_EQ(inhibitors(), 1);
  session.sleepInhibitor().allowSleep();
  ASSERT_TRUE(inhibitorsBecome(0));
  prepareForSleep(false);
  EXPECT_TRUE(sessionRecorder.become({SessionEvent::systemWillSleep, SessionEvent::systemDidWake}));
  EXPECT_TRUE(inhibitorsBecome(1));
}

TEST_F(DbusmockTest, allSourcesOfALockTogetherTellOfOne) {
  ASSERT_TRUE(inhibitorsBecome(1));  // so logind has been asked for everything
  for (const bool lock : {true, false}) {
    callSession(lock ? u"Lock"_s : u"Unlock"_s);
    callScreenSaver(u"SetActive"_s, {lock});
    callSession(u"SetLockedHint"_s, {lock});
  }
  EXPECT_TRUE(sessionRecorder.become({SessionEvent::screenLocked, SessionEvent::screenUnlocked}));
}

TEST_F(DbusmockTest, aScreenSaverThatRestartsIsFoundAgain) {
  ASSERT_TRUE(logs("found org.gnome.ScreenSaver"));
  callScreenSaver(u"SetActive"_s, {true});
  ASSERT_TRUE(sessionRecorder.become({SessionEvent::screenLocked}));
  screenSaverMock.reset();
  ASSERT_TRUE(logs("lost org.gnome.ScreenSaver, waiting for it"));
  runMock(screenSaverMock, u"gnome_screensaver"_s, u"--session"_s, u"org.gnome.ScreenSaver"_s);
  EXPECT_TRUE(sessionRecorder.become({SessionEvent::screenLocked, SessionEvent::screenUnlocked}));
}

}  // namespace
}  // namespace zolvex::test
