#include "core/LaunchAtLogin.h"
#include "core/SettingsKeys.h"
#include "support/FakeLaunchAtLogin.h"
#include "support/LogCapture.h"
#include "support/MemoryUserDefaults.h"

#include <gtest/gtest.h>

namespace zolvex::test {
namespace {

struct LaunchAtLoginTest : testing::Test {
  std::optional<DefaultsValue> stored() const { return defaults.stored(settings::didConfigureLaunchAtLoginDefault); }

  LogCapture log;
  MemoryUserDefaults defaults;
  FakeLaunchAtLogin launchAtLogin;
};

TEST_F(LaunchAtLoginTest, aFirstLaunchSwitchesItOn) {
  applyLaunchAtLoginDefault(launchAtLogin, defaults);
  EXPECT_TRUE(launchAtLogin.isEnabled);
  EXPECT_EQ(stored(), DefaultsValue(true));
}

TEST_F(LaunchAtLoginTest, whereItIsOnAlreadyThatIsOnlyNoted) {
  launchAtLogin.isEnabled = true;
  applyLaunchAtLoginDefault(launchAtLogin, defaults);
  EXPECT_EQ(launchAtLogin.changes, 0);
  EXPECT_EQ(stored(), DefaultsValue(true));
}

TEST_F(LaunchAtLoginTest, aFailureIsLoggedAndTriedAgainAtTheNextLaunch) {
  log.expectError("Launch at login default error: no space");
  launchAtLogin.failure = "no space";
  applyLaunchAtLoginDefault(launchAtLogin, defaults);
  EXPECT_EQ(stored(), std::nullopt);
  launchAtLogin.failure = std::nullopt;
  applyLaunchAtLoginDefault(launchAtLogin, defaults);
  EXPECT_TRUE(launchAtLogin.isEnabled);
  EXPECT_EQ(log.lines().size(), 1u);
}

struct AnyStoredValueTest : LaunchAtLoginTest, testing::WithParamInterface<DefaultsValue> {};

TEST_P(AnyStoredValueTest, keepsTheDefaultFromBeingAppliedAndStays) {
  defaults.set(settings::didConfigureLaunchAtLoginDefault, GetParam());
  applyLaunchAtLoginDefault(launchAtLogin, defaults);
  EXPECT_FALSE(launchAtLogin.isEnabled);
  EXPECT_EQ(stored(), GetParam());
}

INSTANTIATE_TEST_SUITE_P(Values, AnyStoredValueTest,
                         testing::Values(DefaultsValue(false), DefaultsValue(true), DefaultsValue(0.0),
                                         DefaultsValue(std::string()), DefaultsValue(StringArray()),
                                         DefaultsValue(StringDictionary()), DefaultsValue(std::monostate())));

TEST_F(LaunchAtLoginTest, aRegisteredDefaultIsNoStoredValue) {
  defaults.registerDefaults({{std::string(settings::didConfigureLaunchAtLoginDefault), true}});
  applyLaunchAtLoginDefault(launchAtLogin, defaults);
  EXPECT_TRUE(launchAtLogin.isEnabled);
}

TEST_F(LaunchAtLoginTest, theUsersChoiceEndsTheDefault) {
  EXPECT_EQ(setLaunchAtLogin(true, launchAtLogin, defaults), std::nullopt);
  EXPECT_TRUE(launchAtLogin.isEnabled);
  EXPECT_EQ(setLaunchAtLogin(false, launchAtLogin, defaults), std::nullopt);
  applyLaunchAtLoginDefault(launchAtLogin, defaults);
  EXPECT_FALSE(launchAtLogin.isEnabled);
  EXPECT_EQ(stored(), DefaultsValue(true));
}

TEST_F(LaunchAtLoginTest, aChoiceThatFailsIsLoggedAndLeavesTheDefaultInPlace) {
  log.expectError("Launch at login error: no space");
  launchAtLogin.failure = "no space";
  EXPECT_EQ(setLaunchAtLogin(false, launchAtLogin, defaults), "no space");
  EXPECT_EQ(stored(), std::nullopt);
}

}  // namespace
}  // namespace zolvex::test
