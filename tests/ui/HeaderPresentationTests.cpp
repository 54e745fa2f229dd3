#include "ui/HeaderPresentation.h"
#include "ui/PresentationPrinting.h"
#include "ui/PresentationValues.h"

#include <gtest/gtest.h>

namespace zolvex::test {
namespace {

using enum DeviceOwnershipState;
using enum Colour;

struct Row {
  DeviceOwnershipState state;
  std::string_view title;
  std::string_view symbol;
  Colour colour;
  std::string_view withMessage;     ///< Subtitle while the status message is "Still busy".
  std::string_view withoutMessage;  ///< Subtitle while it is empty.
};

// clang-format off
const std::array headers{
    Row{unknown, "Set up your devices", "questionmark.circle", secondary,
        "Choose the Magic devices to manage.", "Choose the Magic devices to manage."},
    Row{thisMac, "This Mac has zolvex", "hand.pinch.fill", green,
        "Managed devices are available here.", "Managed devices are available here."},
    Row{partiallyThisMac, "Partly on this Mac", "circle.lefthalf.filled", orange,
        "Some devices are here, some are not.", "Some devices are here, some are not."},
    Row{otherMac, "Other Mac has zolvex", "desktopcomputer", secondary,
        "The other Mac is using the devices.", "The other Mac is using the devices."},
    Row{released, "Ready to switch", "circle.dotted", secondary,
        "Devices are free to connect.", "Devices are free to connect."},
    Row{switchingToThisMac, "Taking zolvex", "arrow.triangle.2.circlepath", orange,
        "Connecting devices...", "Connecting devices..."},
    Row{releasing, "Letting go", "arrow.right.circle", orange, "Still busy", "Releasing..."},
    Row{failed, "Needs a nudge", "exclamationmark.triangle.fill", red, "Still busy", "Try switching again."},
    Row{connecting, "Needs a nudge", "exclamationmark.triangle.fill", red, "Still busy", "Try switching again."},
};
// clang-format on

std::string subtitle(DeviceOwnershipState state, std::string_view message) {
  return presentHeader({.ownershipState = state, .statusMessage = message}).subtitle;
}

TEST(HeaderPresentation, tellsEachStateInItsOwnWords) {
  ASSERT_EQ(headers.size(), allOwnershipStates.size());
  for (const auto& row : headers) {
    SCOPED_TRACE(nameOf(row.state));
    const auto header = presentHeader({.ownershipState = row.state});
    EXPECT_EQ(header.title, row.title);
    EXPECT_EQ(header.symbol.name(), row.symbol);
    EXPECT_EQ(header.colour, row.colour);
    EXPECT_EQ(subtitle(row.state, ""), row.withoutMessage);
    EXPECT_EQ(subtitle(row.state, "Still busy"), row.withMessage);
  }
}

TEST(HeaderPresentation, showsTheSpinnerExactlyWhileSwitchingWhateverTheState) {
  for (const auto state : allOwnershipStates) {
    EXPECT_TRUE(presentHeader({.ownershipState = state, .isSwitching = true}).showsSpinner) << nameOf(state);
    EXPECT_FALSE(presentHeader({.ownershipState = state, .isSwitching = false}).showsSpinner) << nameOf(state);
  }
}

TEST(HeaderPresentation, changesNothingButTheSpinnerWhileSwitching) {
  for (const auto state : allOwnershipStates) {
    auto header = presentHeader({.ownershipState = state, .isSwitching = true});
    header.showsSpinner = false;
    EXPECT_EQ(header, presentHeader({.ownershipState = state, .isSwitching = false})) << nameOf(state);
  }
}

TEST(HeaderPresentation, offersCancelOnlyWhileTakingTheDevices) {
  for (const auto state : allOwnershipStates)
    for (const bool isSwitching : {true, false}) {
      const auto header = presentHeader({.ownershipState = state, .isSwitching = isSwitching});
      EXPECT_EQ(header.showsCancel, state == switchingToThisMac) << nameOf(state);
      EXPECT_EQ(header.cancel, "Cancel");
    }
}

TEST(HeaderPresentation, namesASingleDeviceThatIsBeingTaken) {
  const auto devices = devicesNamed({"Desk Keyboard"});
  EXPECT_EQ(presentHeader({.ownershipState = switchingToThisMac, .devices = devices}).subtitle,
            "Connecting Desk Keyboard...");
}

TEST(HeaderPresentation, namesNoDeviceWhenThereAreNoneOrSeveral) {
  EXPECT_EQ(connectingLine({}), "Connecting devices...");
  EXPECT_EQ(connectingLine(devicesNamed({"Magic Keyboard", "Magic Mouse"})), "Connecting devices...");
  EXPECT_EQ(connectingLine(devicesNamed({"a", "b", "c"})), "Connecting devices...");
}

TEST(HeaderPresentation, countsManagedDevicesNotConnectedOnes) {
  auto devices = devicesNamed({"Magic Keyboard", "Magic Mouse"});
  devices[0].isConnected = true;
  EXPECT_EQ(connectingLine(devices), "Connecting devices...");
}

TEST(HeaderPresentation, takesABlankMessageAsOne) {
  EXPECT_EQ(subtitle(releasing, " "), " ");
  EXPECT_EQ(subtitle(failed, " "), " ");
}

}  // namespace
}  // namespace zolvex::test
