#include "ui/DevicePresentation.h"
#include "ui/PresentationPrinting.h"
#include "ui/PresentationValues.h"

#include <gtest/gtest.h>

namespace zolvex::test {
namespace {

DeviceRow rowOf(bool isConnected, bool isSwitching) {
  return presentDevices(devicesNamed({"Magic Mouse"}, isConnected), isSwitching).at(0);
}

TEST(DevicePresentation, showsASymbolByTheKindThatTheNameSuggests) {
  EXPECT_EQ(deviceSymbol("Magic Keyboard").name(), "keyboard");
  EXPECT_EQ(deviceSymbol("MAGIC KEYBOARD").name(), "keyboard");
  EXPECT_EQ(deviceSymbol("Magic Trackpad").name(), "rectangle.and.hand.point.up.left");
  EXPECT_EQ(deviceSymbol("Magic Mouse").name(), "computermouse");
  EXPECT_EQ(deviceSymbol("Headset").name(), "dot.radiowaves.left.and.right");
  EXPECT_EQ(deviceSymbol("").name(), "dot.radiowaves.left.and.right");
  EXPECT_EQ(deviceSymbol("Keyboard with trackpad").name(), "keyboard");
  EXPECT_EQ(deviceSymbol("Trackpad and mouse").name(), "rectangle.and.hand.point.up.left");
}

TEST(DevicePresentation, givesAConnectedDeviceAGreenDot) {
  EXPECT_EQ(rowOf(true, false).dot, Colour::green);
  EXPECT_EQ(rowOf(true, true).dot, Colour::green);
}

TEST(DevicePresentation, givesAMissingDeviceAnOrangeDotWhileSwitching) {
  EXPECT_EQ(rowOf(false, true).dot, Colour::orange);
  EXPECT_EQ(rowOf(false, false).dot, Colour::gray);
}

TEST(DevicePresentation, captionsDevicesOnlyWhileSwitching) {
  EXPECT_EQ(rowOf(true, true).caption, "Connected");
  EXPECT_EQ(rowOf(false, true).caption, "Disconnected");
  EXPECT_EQ(rowOf(true, false).caption, "");
  EXPECT_EQ(rowOf(false, false).caption, "");
}

TEST(DevicePresentation, keepsTheOrderOfTheManagedDevices) {
  const auto rows = presentDevices(devicesNamed({"Magic Trackpad", "Desk Keyboard", "Air"}), false);
  const std::vector<DeviceRow> expected{
      {"0a-00-00-00-00-00", "rectangle.and.hand.point.up.left", "Magic Trackpad", Colour::gray, ""},
      {"0a-00-00-00-00-01", "keyboard", "Desk Keyboard", Colour::gray, ""},
      {"0a-00-00-00-00-02", "dot.radiowaves.left.and.right", "Air", Colour::gray, ""},
  };
  EXPECT_EQ(rows, expected);
}

TEST(DevicePresentation, listsNothingWithoutDevices) {
  EXPECT_TRUE(presentDevices({}, true).empty());
}

}  // namespace
}  // namespace zolvex::test
