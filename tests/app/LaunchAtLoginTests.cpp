#include "ZolvexProcess.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

constexpr auto key = "didConfigureLaunchAtLoginDefault"_L1;
constexpr auto failure = "Launch at login default error: cannot ";

struct ApplicationLaunchAtLoginTest : testing::Test {
  /// Starts it and ends it again when all is up.
  std::string runOnce() {
    computer.start();
    EXPECT_TRUE(computer.zolvex->complains("Device manager started"));
    EXPECT_EQ(computer.end(), 0);
    return computer.zolvex->errors();
  }
  QJsonValue stored() const {
    QFile file(computer.settingsFile());
    return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object()[key]
                                          : QJsonValue(QJsonValue::Undefined);
  }
  bool isSetUp() const { return QFile::exists(computer.autostartFile()); }

  ZolvexProcess computer;
};

TEST_F(ApplicationLaunchAtLoginTest, aFirstLaunchSwitchesItOnAndLaterOnesLeaveItToTheUser) {
  runOnce();
  EXPECT_TRUE(isSetUp());
  EXPECT_EQ(stored(), QJsonValue(true));
  QFile::remove(computer.autostartFile());
  runOnce();
  EXPECT_FALSE(isSetUp());
}

TEST_F(ApplicationLaunchAtLoginTest, aStoredFalseIsAValueToo) {
  computer.writeSettings(R"({"didConfigureLaunchAtLoginDefault": false})");
  runOnce();
  EXPECT_FALSE(isSetUp());
  EXPECT_EQ(stored(), QJsonValue(false));
}

TEST_F(ApplicationLaunchAtLoginTest, aFailureIsLoggedAndTriedAgainAtTheNextLaunch) {
  QFile inTheWay(computer.directory.filePath(u"autostart"_s));
  ASSERT_TRUE(inTheWay.open(QIODevice::WriteOnly));
  EXPECT_NE(runOnce().find(failure), std::string::npos);
  EXPECT_TRUE(stored().isUndefined());
  inTheWay.remove();
  EXPECT_EQ(runOnce().find(failure), std::string::npos);
  EXPECT_TRUE(isSetUp());
  EXPECT_EQ(stored(), QJsonValue(true));
}

TEST_F(ApplicationLaunchAtLoginTest, isLeftAsItIsWhileTheSettingsCannotBeRead) {
  computer.writeSettings("garbage");
  runOnce();
  EXPECT_FALSE(isSetUp());
}

TEST_F(ApplicationLaunchAtLoginTest, isSwitchedOffAndOnByZolvexctl) {
  ASSERT_TRUE(computer.sessionBus.start());
  ASSERT_TRUE(computer.startOnBus());
  EXPECT_TRUE(isSetUp());
  EXPECT_EQ(computer.control({u"settings"_s, u"launchAtLogin"_s, u"off"_s}).exitStatus(), 0);
  EXPECT_FALSE(isSetUp());
  auto shown = computer.control({u"settings"_s, u"launchAtLogin"_s});
  EXPECT_EQ(shown.exitStatus(), 0);
  EXPECT_EQ(shown.output(), "false\n");
  EXPECT_EQ(computer.control({u"settings"_s, u"launchAtLogin"_s, u"on"_s}).exitStatus(), 0);
  EXPECT_TRUE(isSetUp());
  EXPECT_EQ(computer.end(), 0);
}

}  // namespace
}  // namespace zolvex::test
