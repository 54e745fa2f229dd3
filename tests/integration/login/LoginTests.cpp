#include "UserManager.h"
#include "platform/linux/BusLink.h"
#include "platform/linux/LinuxLaunchAtLogin.h"
#include "platform/linux/QtMainQueue.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

/// A user with a real systemd, for whom launch at login is switched on, and has been before: Zolvex does not switch it
/// on by itself.
struct LoginTest : testing::Test {
  void SetUp() override {
    std::filesystem::create_directory(manager.configHome() + "/zolvex");
    std::ofstream(manager.configHome() + "/zolvex/settings.json") << R"({"didConfigureLaunchAtLoginDefault": true})";
    ASSERT_TRUE(manager.start());
    link.start();
    // systemd comes to the bus after it has started it.
    ASSERT_TRUE(runUntil([&] {
      return link.isConnected() &&
             link.connection().interface()->isServiceRegistered(u"org.freedesktop.systemd1"_s).value();
    }));
    ASSERT_EQ(launchAtLogin.enable(), std::nullopt);
    ASSERT_TRUE(manager.reaches(u"LoadState"_s, "loaded"));
  }

  [[nodiscard]] bool isUp() const { return manager.reaches(u"SubState"_s, "running"); }
  pid_t process() const { return std::stoi(manager.property(u"MainPID"_s)); }
  [[nodiscard]] static bool hasEnded(pid_t process) {
    return runUntil([&] { return kill(process, 0) != 0; });
  }

  /// The command line of the autostart entry.
  QString entryCommand() const {
    std::ifstream lines(manager.configHome() + "/autostart/quenmar.zolvex.app.desktop");
    for (std::string line; std::getline(lines, line);)
      if (line.starts_with("Exec=")) return QString::fromStdString(line.substr(5));
    return {};
  }

  QTemporaryDir home;
  UserManager manager{home.path().toStdString()};
  QtMainQueue queue;
  BusLink link{queue, "session bus", UserManager::busAddress()};
  LinuxLaunchAtLogin launchAtLogin{{manager.configHome(), UserManager::runtimeDirectory(), {}}, ZOLVEX, link};
};

TEST_F(LoginTest, theServiceComesAndGoesWithTheDesktop) {
  EXPECT_EQ(manager.property(u"ActiveState"_s), "inactive");
  ASSERT_TRUE(manager.beginDesktop());
  ASSERT_TRUE(isUp());
  const auto zolvex = process();
  EXPECT_EQ(std::filesystem::read_symlink("/proc/" + std::to_string(zolvex) + "/exe"), ZOLVEX);
  ASSERT_TRUE(manager.endDesktop());
  EXPECT_TRUE(manager.reaches(u"ActiveState"_s, "inactive"));
  EXPECT_EQ(manager.property(u"Result"_s), "success");
  EXPECT_TRUE(hasEnded(zolvex));
}

TEST_F(LoginTest, whatIsKilledComesBackUntilItIsStopped) {
  ASSERT_TRUE(manager.beginDesktop());
  ASSERT_TRUE(isUp());
  const auto first = process();
  kill(first, SIGKILL);
  ASSERT_TRUE(manager.reaches(u"NRestarts"_s, "1"));
  ASSERT_TRUE(isUp());
  const auto second = process();
  EXPECT_NE(second, first);
  manager.systemctl({u"stop"_s, u"zolvex.service"_s});
  EXPECT_EQ(manager.property(u"ActiveState"_s), "inactive");
  EXPECT_EQ(manager.property(u"Result"_s), "success");
  EXPECT_TRUE(hasEnded(second));
}

TEST_F(LoginTest, whatIsSwitchedOffRunsOnToTheEndOfTheDesktopAndDoesNotComeWithTheNextOne) {
  ASSERT_TRUE(manager.beginDesktop());
  ASSERT_TRUE(isUp());
  const auto zolvex = process();
  ASSERT_EQ(launchAtLogin.disable(), std::nullopt);
  ASSERT_TRUE(manager.reaches(u"UnitFileState"_s, "disabled"));
  EXPECT_EQ(manager.property(u"SubState"_s), "running");
  ASSERT_TRUE(manager.endDesktop());
  EXPECT_TRUE(manager.reaches(u"ActiveState"_s, "inactive"));
  EXPECT_TRUE(hasEnded(zolvex));
  ASSERT_TRUE(manager.beginDesktop());
  EXPECT_EQ(manager.property(u"ActiveState"_s), "inactive");
}

TEST_F(LoginTest, aSecondOneIsNotTriedAgain) {
  ProgramRun first(QStringLiteral(ZOLVEX), {}, manager.variables());
  ASSERT_TRUE(first.complains("Device manager started"));
  ASSERT_TRUE(manager.beginDesktop());
  ASSERT_TRUE(manager.reaches(u"ActiveState"_s, "failed"));
  EXPECT_EQ(manager.property(u"ExecMainStatus"_s), "1");
  EXPECT_EQ(manager.property(u"NRestarts"_s), "0");
}

TEST_F(LoginTest, theAutostartEntryStartsTheServiceWhereTheDesktopDoesNotReachTheTarget) {
  ProgramRun entry(u"/bin/sh"_s, {u"-c"_s, entryCommand()}, manager.variables());
  EXPECT_EQ(entry.exitStatus(), 0) << entry.errors();
  EXPECT_TRUE(isUp());
}

}  // namespace
}  // namespace zolvex::test
