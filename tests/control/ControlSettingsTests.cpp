#include "control/ControlSettings.h"
#include "core/SettingsKeys.h"
#include "support/FakeLaunchAtLogin.h"
#include "support/World.h"

#include <gtest/gtest.h>

#include <limits>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;
namespace error = control::error;

struct ControlSettingsTest : testing::Test {
  QLatin1StringView refusalOf(const std::string& key, const QVariant& value) {
    const auto refusal = settings_.set(key, value);
    return refusal ? refusal->name : QLatin1StringView("accepted");
  }

  World world;
  FakeLaunchAtLogin launchAtLogin;
  control::ControlSettings settings_{world.defaults, world.network(), launchAtLogin};
};

TEST_F(ControlSettingsTest, setsTheSwitches) {
  for (const auto key : {settings::autoConnect, settings::autoRelease, settings::globalHotkeyEnabled}) {
    EXPECT_EQ(settings_.set(std::string(key), false), std::nullopt);
    EXPECT_EQ(world.defaults.boolean(key), false);
    EXPECT_EQ(refusalOf(std::string(key), 0), error::invalidValue);
    EXPECT_EQ(refusalOf(std::string(key), u"false"_s), error::invalidValue);
  }
}

TEST_F(ControlSettingsTest, setsTheHoursThatTheSettingsPageOffers) {
  for (const double hours : {1.0 / 60, 5.0 / 60, 1.0, 8.0, -1.0}) {
    EXPECT_EQ(settings_.set("autoReleaseHours", hours), std::nullopt);
    EXPECT_EQ(world.defaults.number(settings::autoReleaseHours), hours);
  }
  EXPECT_EQ(settings_.set("autoReleaseHours", 8), std::nullopt);
  EXPECT_EQ(settings_.set("autoReleaseHours", 0.083), std::nullopt);
  EXPECT_EQ(world.defaults.number(settings::autoReleaseHours), 5.0 / 60);
}

TEST_F(ControlSettingsTest, refusesOtherHours) {
  for (const QVariant& value : {QVariant(0.0), QVariant(-2.0), QVariant(2.0), QVariant(1e300), QVariant(u"8"_s),
                                QVariant(true), QVariant(std::numeric_limits<double>::quiet_NaN())})
    EXPECT_EQ(refusalOf("autoReleaseHours", value), error::invalidValue) << value.toString().toStdString();
  EXPECT_EQ(world.defaults.number(settings::autoReleaseHours), std::nullopt);
}

TEST_F(ControlSettingsTest, changesTheTransportThroughTheRegistry) {
  EXPECT_TRUE(world.peer.isStarted());
  EXPECT_EQ(settings_.set("transportMode", u"bluetooth"_s), std::nullopt);
  EXPECT_FALSE(world.peer.isStarted());
  EXPECT_EQ(refusalOf("transportMode", u"BONJOUR"_s), error::invalidValue);
  EXPECT_EQ(refusalOf("transportMode", 1), error::invalidValue);
}

TEST_F(ControlSettingsTest, refusesItsOwnTablesWithTheWayToChangeThem) {
  for (const auto key : {settings::managedDeviceAddresses, settings::deviceNames, settings::networkDevices,
                         settings::peerIdentityID, settings::didConfigureLaunchAtLoginDefault}) {
    const auto refusal = settings_.set(std::string(key), u"x"_s);
    ASSERT_TRUE(refusal.has_value());
    EXPECT_EQ(refusal->name, error::unknownSetting);
    EXPECT_TRUE(refusal->text.starts_with(std::string(key) + " is not set directly. ")) << refusal->text;
  }
}

TEST_F(ControlSettingsTest, refusesUnknownKeys) {
  EXPECT_EQ(refusalOf("", true), error::unknownSetting);
  EXPECT_EQ(refusalOf("AutoConnect", true), error::unknownSetting);
}

TEST_F(ControlSettingsTest, switchesLaunchAtLogin) {
  EXPECT_EQ(settings_.set("launchAtLogin", true), std::nullopt);
  EXPECT_TRUE(launchAtLogin.isEnabled);
  EXPECT_EQ(settings_.all()[u"launchAtLogin"_s], QVariant(true));
  EXPECT_EQ(settings_.set("launchAtLogin", false), std::nullopt);
  EXPECT_FALSE(launchAtLogin.isEnabled);
  EXPECT_EQ(world.defaults.boolean(settings::didConfigureLaunchAtLoginDefault), true);
  EXPECT_EQ(refusalOf("launchAtLogin", 1), error::invalidValue);
}

TEST_F(ControlSettingsTest, tellsWhyLaunchAtLoginCannotBeSwitched) {
  world.log.expectError("Launch at login error: no space");
  launchAtLogin.failure = "no space";
  const auto refusal = settings_.set("launchAtLogin", true);
  ASSERT_TRUE(refusal.has_value());
  EXPECT_EQ(refusal->name, error::failed);
  EXPECT_EQ(refusal->text, "Launch at login cannot be changed: no space");
}

TEST_F(ControlSettingsTest, tellsThatAChangeCannotBeSaved) {
  world.defaults.problem = "no space";
  const auto refusal = settings_.set("autoConnect", false);
  ASSERT_TRUE(refusal.has_value());
  EXPECT_EQ(refusal->text, "The change counts until Zolvex ends, it cannot be saved: no space");
  EXPECT_EQ(world.defaults.boolean(settings::autoConnect), false);
  EXPECT_EQ(refusalOf("nothing", false), error::unknownSetting);
}

TEST_F(ControlSettingsTest, showsWhatIsInEffect) {
  world.defaults.registerDefaults({{std::string(settings::autoReleaseHours), -1.0}});
  const auto all = settings_.all();
  EXPECT_EQ(all.keys(), (QStringList{u"autoConnect"_s, u"autoRelease"_s, u"autoReleaseHours"_s,
                                     u"globalHotkeyEnabled"_s, u"launchAtLogin"_s, u"transportMode"_s}));
  EXPECT_EQ(all[u"autoConnect"_s], QVariant(false));
  EXPECT_EQ(all[u"autoReleaseHours"_s], QVariant(-1.0));
  EXPECT_EQ(all[u"transportMode"_s], QVariant(u"bonjour"_s));
}

}  // namespace
}  // namespace zolvex::test
