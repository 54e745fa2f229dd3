#include "core/SettingsKeys.h"
#include "support/World.h"
#include "ui/FirstOpening.h"
#include "ui/SetupSave.h"

#include <gtest/gtest.h>

namespace zolvex::test {
namespace {

const std::vector<PairedDevicePayload> knownToSystem{
    {"P1", "Trackpad", false}, {"P2", "keyboard 10", true}, {"P3", "Keyboard 9", false}, {"P4", "Speaker", true}};

TEST(SetupSaveTest, storesTheChosenDevicesInTheOrderOfTheirNames) {
  World world(noDevices);
  saveManagedDevices({"P1", "P2", "P3"}, knownToSystem, world.defaults, world.store());
  EXPECT_EQ(world.defaults.stringArray(settings::managedDeviceAddresses), (StringArray{"P3", "P2", "P1"}));
  ASSERT_EQ(world.store().peripherals().size(), 3U);
  EXPECT_EQ(world.store().peripherals()[0].name, "Keyboard 9");
  EXPECT_FALSE(world.store().loadDeviceNames().contains("P4"));
}

TEST(SetupSaveTest, keepsAChosenDeviceThatIsPairedElsewhereAtTheMoment) {
  World world({"Magic Mouse"});
  saveManagedDevices({"A1", "P4"}, knownToSystem, world.defaults, world.store());
  EXPECT_EQ(world.defaults.stringArray(settings::managedDeviceAddresses), (StringArray{"A1", "P4"}));
  EXPECT_EQ(world.store().peripherals()[0].name, "Magic Mouse");
}

TEST(FirstOpeningTest, happensOnceWhenNothingIsSetUp) {
  MemoryUserDefaults defaults;
  EXPECT_TRUE(takeFirstOpening(defaults, false, false));
  EXPECT_FALSE(takeFirstOpening(defaults, false, false));
}

TEST(FirstOpeningTest, doesNotHappenToThoseWhoAreSetUp) {
  for (const auto& [hasDevices, hasPeer] : {std::pair(true, false), std::pair(false, true), std::pair(true, true)}) {
    MemoryUserDefaults defaults;
    EXPECT_FALSE(takeFirstOpening(defaults, hasDevices, hasPeer));
    EXPECT_FALSE(takeFirstOpening(defaults, false, false));
  }
}

}  // namespace
}  // namespace zolvex::test
