#include "core/SettingsKeys.h"
#include "core/SettingsTypes.h"

#include <gtest/gtest.h>

namespace zolvex {
namespace {

TEST(SettingsTypes, eachSettingHasOneType) {
  EXPECT_TRUE(hasItsType(settings::autoConnect, true));
  EXPECT_FALSE(hasItsType(settings::autoConnect, 1.0));
  EXPECT_TRUE(hasItsType(settings::autoReleaseHours, -1.0));
  EXPECT_FALSE(hasItsType(settings::autoReleaseHours, std::string("-1")));
  EXPECT_TRUE(hasItsType(settings::deviceNames, StringDictionary()));
  EXPECT_FALSE(hasItsType(settings::managedDeviceAddresses, StringDictionary()));
  EXPECT_FALSE(hasItsType(settings::networkDevices, std::monostate()));
}

TEST(SettingsTypes, anythingIsRightWhereOnlyThePresenceCountsAndForKeysOfOthers) {
  EXPECT_TRUE(hasItsType(settings::didConfigureLaunchAtLoginDefault, std::monostate()));
  EXPECT_TRUE(hasItsType("theirs", std::monostate()));
}

}  // namespace
}  // namespace zolvex
