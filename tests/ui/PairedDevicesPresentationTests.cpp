#include "ui/NameOrder.h"
#include "ui/PairedDevicesPresentation.h"
#include "ui/PresentationPrinting.h"
#include "ui/PresentationValues.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zolvex::test {
namespace {

using testing::ElementsAre;
using Paired = std::vector<PairedDevicePayload>;
using Addresses = std::set<std::string>;

std::vector<std::string> namesOf(const PairedDevicesPresentation& shown) {
  std::vector<std::string> names;
  for (const auto& row : shown.rows) names.push_back(row.name);
  return names;
}

/// Devices whose address is their name.
Paired paired(const std::vector<std::string>& names) {
  Paired devices;
  for (const auto& name : names) devices.push_back({name, name, false});
  return devices;
}

std::vector<std::string> listed(const std::vector<std::string>& names, const Addresses& selected = {}) {
  return namesOf(presentPairedDevices({paired(names), selected}));
}

TEST(PairedDevicesPresentation, saysThatItScans) {
  const auto shown = presentPairedDevices({{}, {}, true});
  EXPECT_EQ(shown, (PairedDevicesPresentation{"Scanning paired devices...", "", "", {}}));
}

TEST(PairedDevicesPresentation, showsTheKnownDevicesWhileItScans) {
  const auto known = paired({"Magic Mouse"});
  const auto shown = presentPairedDevices({known, {}, true});
  EXPECT_EQ(shown.scanning, "Scanning paired devices...");
  EXPECT_THAT(namesOf(shown), ElementsAre("Magic Mouse"));
}

TEST(PairedDevicesPresentation, tellsWhatToDoWhenNothingIsPaired) {
  const auto shown = presentPairedDevices({{}, {}, false});
  EXPECT_EQ(shown, (PairedDevicesPresentation{
                       "",
                       "No paired Bluetooth devices found",
                       "Pair your Magic Keyboard and Trackpad via System Settings first, then come back here.",
                       {}}));
}

TEST(PairedDevicesPresentation, showsEachDeviceWithItsStateAndItsMark) {
  const Paired devices{{"0a", "Magic Keyboard", true}, {"0b", "Magic Trackpad", false}};
  const auto shown = presentPairedDevices({devices, {"0a"}});
  const std::vector<PairedDeviceRow> expected{
      {"0a", "keyboard", "Magic Keyboard", Colour::green, true, "checkmark.circle.fill", Colour::blue},
      {"0b", "rectangle.and.hand.point.up.left", "Magic Trackpad", Colour::gray, false, "circle", Colour::secondary},
  };
  EXPECT_EQ(shown, (PairedDevicesPresentation{"", "", "", expected}));
}

TEST(PairedDevicesPresentation, callsADeviceWithoutANameUnknown) {
  const Paired devices{{"0a", "", false}};
  const auto rows = presentPairedDevices({devices, {}}).rows;
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].name, "Unknown Device");
  EXPECT_EQ(rows[0].symbol.name(), "dot.radiowaves.left.and.right");
}

TEST(PairedDevicesPresentation, listsSelectedDevicesFirstAndEachGroupByName) {
  EXPECT_THAT(listed({"a", "b", "A"}, {"b", "A"}), ElementsAre("A", "b", "a"));
  EXPECT_THAT(listed({"c", "B", "a"}), ElementsAre("a", "B", "c"));
  EXPECT_THAT(listed({"c", "B", "a"}, {"a", "B", "c"}), ElementsAre("a", "B", "c"));
  EXPECT_THAT(listed({"d", "c", "b", "a"}, {"d", "b"}), ElementsAre("b", "d", "a", "c"));
}

TEST(PairedDevicesPresentation, sortsADeviceWithoutANameByWhatIsShown) {
  const Paired devices{{"1", "", false}, {"2", "Zebra", false}, {"3", "Trackpad", false}};
  EXPECT_THAT(namesOf(presentPairedDevices({devices, {}})), ElementsAre("Trackpad", "Unknown Device", "Zebra"));
}

TEST(PairedDevicesPresentation, ordersDevicesOfOneNameByTheirAddress) {
  const Paired one{{"0b", "Magic Mouse", false}, {"0a", "Magic Mouse", true}};
  const Paired other{one[1], one[0]};
  const auto rows = presentPairedDevices({one, {}}).rows;
  EXPECT_EQ(rows, presentPairedDevices({other, {}}).rows);
  EXPECT_EQ(rows.at(0).id, "0a");
}

TEST(PairedDevicesPresentation, ignoresSelectedAddressesThatAreNotPaired) {
  EXPECT_THAT(listed({"b", "a"}, {"gone"}), ElementsAre("a", "b"));
}

TEST(PairedDevicesPresentation, takesTheOrderOfTheUsersLanguageWhenGivenOne) {
  const auto backwards = [](std::string_view one, std::string_view other) { return other < one; };
  const auto devices = paired({"a", "b", "c"});
  EXPECT_THAT(namesOf(presentPairedDevices({devices, {"b"}}, backwards)), ElementsAre("b", "c", "a"));
}

TEST(PairedDevicesPresentation, knowsTheManagedDevicesBeforeTheScan) {
  auto managed = devicesNamed({"Magic Mouse", "Magic Keyboard"});
  managed[1].isConnected = true;
  EXPECT_THAT(pairedFromManaged(managed),
              ElementsAre(PairedDevicePayload{"0a-00-00-00-00-00", "Magic Mouse", false},
                          PairedDevicePayload{"0a-00-00-00-00-01", "Magic Keyboard", true}));
}

TEST(PairedDevicesPresentation, togglesOneAddressOfTheSelection) {
  EXPECT_EQ(toggled({}, "0a"), Addresses{"0a"});
  EXPECT_EQ(toggled({"0a"}, "0a"), Addresses{});
  EXPECT_EQ(toggled({"0a", "0b"}, "0a"), Addresses{"0b"});
}

TEST(NameOrder, disregardsTheCaseOfLetters) {
  EXPECT_TRUE(naturalOrder("apple", "Banana"));
  EXPECT_TRUE(naturalOrder("Apple", "banana"));
  EXPECT_FALSE(naturalOrder("mouse", "Mouse"));
  EXPECT_FALSE(naturalOrder("Mouse", "mouse"));
}

TEST(NameOrder, comparesNumbersByTheirValue) {
  EXPECT_THAT(listed({"Mouse 10", "Mouse 9", "Mouse 1"}), ElementsAre("Mouse 1", "Mouse 9", "Mouse 10"));
  EXPECT_TRUE(naturalOrder("a2b1", "A10b0"));
  EXPECT_TRUE(naturalOrder("a007", "a8"));
  EXPECT_FALSE(naturalOrder("a007", "a7"));
  EXPECT_FALSE(naturalOrder("a7", "a007"));
  EXPECT_TRUE(naturalOrder("a0", "a00b"));
  EXPECT_TRUE(naturalOrder("9", "99999999999999999999999999999999"));
}

TEST(NameOrder, putsTheBeginningOfANameBeforeIt) {
  EXPECT_TRUE(naturalOrder("", "a"));
  EXPECT_TRUE(naturalOrder("Mouse", "Mouse 2"));
  EXPECT_FALSE(naturalOrder("Mouse 2", "Mouse"));
  EXPECT_FALSE(naturalOrder("", ""));
}

TEST(NameOrder, putsOtherScriptsAfterAscii) {
  EXPECT_TRUE(naturalOrder("Zebra", "\u00c4pfel"));
  EXPECT_TRUE(naturalOrder("\u00c4pfel", "\u65e5\u672c"));
}

}  // namespace
}  // namespace zolvex::test
