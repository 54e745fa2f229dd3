#include "lab/PrivateBus.h"
#include "platform/linux/BusLink.h"
#include "platform/linux/DesktopNotificationCenter.h"
#include "platform/linux/GnomeNotificationSwitch.h"
#include "platform/linux/QtMainQueue.h"
#include "support/EventLoop.h"
#include "support/LogCapture.h"
#include "support/ScriptedService.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <csignal>
#include <optional>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

/// Has a stand-in for gsettings on the path, which notes its arguments and its process id.
struct GnomeNotificationSwitchTest : testing::Test {
  void SetUp() override {
    ASSERT_TRUE(bus.start()) << bus.errorString().toStdString();
    link.start();
    ASSERT_TRUE(runUntil([&] { return link.isConnected(); }));
    shell.emplace(bus.address(), u"org.gnome.Shell"_s, [](const QDBusMessage&) { return QDBusMessage(); });
    ASSERT_TRUE(shell->isRegistered());
    qputenv("PATH", QFile::encodeName(directory.path()) + ":" + path);
    standIn("exit 1");
  }
  void TearDown() override { qputenv("PATH", path); }

  void standIn(const QByteArray& behaviour) {
    QFile file(directory.filePath(u"gsettings"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("#!/bin/sh\necho \"$@\" > " + notes("arguments") + "\necho $$ > " + notes("id") + "\n" + behaviour);
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
  }
  QByteArray notes(const char* name) const { return QFile::encodeName(directory.filePath(QString::fromLatin1(name))); }
  QByteArray noted(const char* name) const {
    QFile file(QFile::decodeName(notes(name)));
    return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray();
  }
  bool wasAsked() const { return !noted("arguments").isEmpty(); }
  bool standInRuns() const { return kill(noted("id").toInt(), 0) == 0; }

  std::optional<bool> isOff() {
    std::optional<bool> found;
    gnome->ask([&](bool off) { found = off; });
    EXPECT_TRUE(runUntil([&] { return found.has_value(); }));
    return found;
  }

  LogCapture log;
  const QByteArray path = qgetenv("PATH");
  QTemporaryDir directory;
  lab::PrivateBus bus;
  QtMainQueue queue;
  BusLink link{queue, "session bus", bus.address().toStdString()};
  std::optional<ScriptedService> shell;
  std::optional<GnomeNotificationSwitch> gnome{std::in_place, link, "quenmar.zolvex.app"};
};

TEST_F(GnomeNotificationSwitchTest, isOffWhereGnomeSaysSo) {
  standIn("echo false");
  EXPECT_EQ(isOff(), true);
  EXPECT_EQ(noted("arguments"),
            "get org.gnome.desktop.notifications.application:"
            "/org/gnome/desktop/notifications/application/quenmar-zolvex-app/ enable");
}

TEST_F(GnomeNotificationSwitchTest, isOnWhereGnomeSaysSo) {
  standIn("echo true");
  EXPECT_EQ(isOff(), false);
  EXPECT_TRUE(wasAsked());
}

TEST_F(GnomeNotificationSwitchTest, theNameOfTheProgramIsMadeFitForAPlace) {
  gnome.emplace(link, "Org.Example_.Pro-gram2");
  standIn("echo false");
  EXPECT_EQ(isOff(), true);
  EXPECT_TRUE(noted("arguments").contains("/org-example-pro-gram2/")) << noted("arguments").toStdString();
}

TEST_F(GnomeNotificationSwitchTest, whatFailsSwitchesNothingOff) {
  for (const auto* behaviour : {"echo 'No such schema' >&2; exit 1", "echo false; exit 1", "echo false; kill -9 $$",
                                "echo 'not false'", "exit 0"}) {
    standIn(behaviour);
    EXPECT_EQ(isOff(), false) << behaviour;
  }
}

TEST_F(GnomeNotificationSwitchTest, withoutTheProgramNothingIsOff) {
  QFile::remove(directory.filePath(u"gsettings"_s));
  qputenv("PATH", QFile::encodeName(directory.path()));
  EXPECT_EQ(isOff(), false);
}

TEST_F(GnomeNotificationSwitchTest, aProgramThatHangsIsKilled) {
  standIn("echo false; exec sleep 600");
  EXPECT_EQ(isOff(), false);
  EXPECT_TRUE(wasAsked());
  EXPECT_FALSE(standInRuns());
}

TEST_F(GnomeNotificationSwitchTest, nobodyIsToldAndNothingIsLeftAfterItsEnd) {
  standIn("exec sleep 600");
  gnome->ask([](bool) { ADD_FAILURE() << "answered after its end"; });
  ASSERT_TRUE(runUntil([&] { return noted("id").toInt() > 0; }));
  ASSERT_TRUE(standInRuns());
  gnome.reset();
  EXPECT_FALSE(standInRuns());
}

TEST_F(GnomeNotificationSwitchTest, isNotAskedOnAnotherDesktop) {
  standIn("echo false");
  shell.reset();
  EXPECT_EQ(isOff(), false);
  EXPECT_FALSE(wasAsked());
}

TEST_F(GnomeNotificationSwitchTest, isNotAskedWithoutABus) {
  log.expectError("lost the session bus");
  standIn("echo false");
  bus.stop();
  ASSERT_TRUE(runUntil([&] { return !link.isConnected(); }));
  EXPECT_EQ(isOff(), false);
  EXPECT_FALSE(wasAsked());
}

TEST_F(GnomeNotificationSwitchTest, deniesNotifications) {
  using enum NotificationCenter::AuthorizationStatus;
  DesktopNotificationCenter center(link);
  for (const auto& [answer, expected] : {std::pair{"echo false", denied}, std::pair{"echo true", authorized}}) {
    standIn(answer);
    std::optional<NotificationCenter::AuthorizationStatus> found;
    center.getAuthorizationStatus([&](auto status) { found = status; });
    EXPECT_TRUE(runUntil([&] { return found.has_value(); }));
    EXPECT_EQ(found, expected) << answer;
  }
}

}  // namespace
}  // namespace zolvex::test
