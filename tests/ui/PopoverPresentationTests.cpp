#include "ui/AboutPresentation.h"
#include "ui/MainActionPresentation.h"
#include "ui/PopoverPresentation.h"
#include "ui/PresentationPrinting.h"
#include "ui/StatusItemPresentation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace zolvex::test {
namespace {

TEST(Colour, isNamedAsItsCase) {
  using enum Colour;
  const std::array colours{primary, secondary, tertiary, accent, green, gray, orange, red, blue};
  const std::array names{"primary", "secondary", "tertiary", "accent", "green", "gray", "orange", "red", "blue"};
  for (std::size_t i = 0; i < colours.size(); ++i) EXPECT_EQ(nameOf(colours[i]), names[i]);
}

TEST(StatusItemPresentation, showsASwitchBeforeConnectedDevicesBeforeNothing) {
  EXPECT_EQ(presentStatusItem(true, true).symbol.name(), "arrow.triangle.2.circlepath");
  EXPECT_EQ(presentStatusItem(true, false).symbol.name(), "arrow.triangle.2.circlepath");
  EXPECT_EQ(presentStatusItem(false, true).symbol.name(), "hand.pinch.fill");
  EXPECT_EQ(presentStatusItem(false, false).symbol.name(), "circle.dotted");
}

TEST(StatusItemPresentation, isCalledZolvexInEveryState) {
  for (const bool isSwitching : {true, false})
    for (const bool anyConnected : {true, false})
      EXPECT_EQ(presentStatusItem(isSwitching, anyConnected).accessibleName, "Zolvex");
}

TEST(StatusItemPresentation, hasOnePanelIconForEachSymbol) {
  EXPECT_EQ(presentStatusItem(true, false).iconName, "quenmar.zolvex.app.switching-symbolic");
  EXPECT_EQ(presentStatusItem(true, true).iconName, "quenmar.zolvex.app.switching-symbolic");
  EXPECT_EQ(presentStatusItem(false, true).iconName, "quenmar.zolvex.app.here-symbolic");
  EXPECT_EQ(presentStatusItem(false, false).iconName, "quenmar.zolvex.app.away-symbolic");
}

TEST(StatusItemPresentation, offersTheMainActionInTheMenuOfAPanelWithoutClicks) {
  const auto away = presentStatusItemMenu(false);
  EXPECT_EQ(away.open, "Open Zolvex");
  EXPECT_EQ(away.action.text, "Switch to Me");
  EXPECT_EQ(away.action.action, DeviceAction::connectToThisMac);
  EXPECT_EQ(away.quit, "Quit");
  EXPECT_EQ(presentStatusItemMenu(true).action.text, "Release");
  EXPECT_EQ(presentStatusItemMenu(true).action.action, DeviceAction::releaseDevices);
}

TEST(MainActionPresentation, offersToTakeTheDevicesWhenNoneIsHere) {
  const ActionButton take{"Switch to Me", "hand.draw.fill", Colour::accent, DeviceAction::connectToThisMac};
  const ActionButton quick{"Quick Connect", "bolt.fill", Colour::primary, DeviceAction::forceConnect};
  EXPECT_EQ(presentMainAction(false), (MainActionPresentation{take, quick}));
}

TEST(MainActionPresentation, offersToReleaseTheDevicesWhenAnyIsHere) {
  const ActionButton release{"Release", "arrow.right.circle", Colour::orange, DeviceAction::releaseDevices};
  EXPECT_EQ(presentMainAction(true), (MainActionPresentation{release, std::nullopt}));
}

TEST(PopoverPresentation, showsTheSettingsBeforeTheAboutPageBeforeTheMainPage) {
  EXPECT_EQ(popoverPage(true, true), PopoverPage::settings);
  EXPECT_EQ(popoverPage(true, false), PopoverPage::settings);
  EXPECT_EQ(popoverPage(false, true), PopoverPage::about);
  EXPECT_EQ(popoverPage(false, false), PopoverPage::main);
}

TEST(PopoverPresentation, framesTheMainPage) {
  const PopoverFrame frame;
  EXPECT_EQ(frame.title, "Zolvex");
  EXPECT_EQ(frame.about, (IconButton{"info.circle", "About"}));
  EXPECT_EQ(frame.settings, (IconButton{"gear", "Settings"}));
  EXPECT_EQ(frame.hotKeyBadge, "\u2303 \u2325 D");
  EXPECT_EQ(frame.hotKeyTooltip, "Control Option D");
  EXPECT_EQ(frame.hotKeyColour, Colour::secondary);
  EXPECT_EQ(frame.versionColour, Colour::tertiary);
  EXPECT_EQ(frame.quit, "Quit");
  EXPECT_EQ(frame.quitTint, Colour::red);
}

TEST(PopoverPresentation, tellsTheVersionAsFarAsItIsKnown) {
  EXPECT_EQ(presentVersion("0.1.0", "123"), "v0.1.0 (123)");
  EXPECT_EQ(presentVersion("0.1.0", ""), "v0.1.0 (?)");
  EXPECT_EQ(presentVersion("", "123"), "v? (123)");
  EXPECT_EQ(presentVersion("?", "?"), "v? (?)");
  EXPECT_EQ(presentVersion("", ""), "v? (?)");
}

TEST(AboutPresentation, namesTheProgramAndItsMaker) {
  const auto about = presentAbout(false);
  EXPECT_EQ(about.backSymbol.name(), "chevron.left");
  EXPECT_EQ(about.title, "About");
  EXPECT_EQ(about.image, "AppIcon");
  EXPECT_EQ(about.line, "Zolvex by Quenmar");
}

TEST(AboutPresentation, offersTheUpdateCheckOnlyWhenOneIsPossible) {
  using enum AboutAction;
  EXPECT_EQ(presentAbout(false).buttons[0],
            (AboutButton{"Check for Updates", checkForUpdates, Colour::accent, true, false}));
  EXPECT_EQ(presentAbout(true).buttons[0],
            (AboutButton{"Check for Updates", checkForUpdates, Colour::accent, true, true}));
}

TEST(AboutPresentation, opensTheHelpPageWithThreeButtons) {
  using enum AboutAction;
  for (const bool canCheckForUpdates : {true, false}) {
    const auto buttons = presentAbout(canCheckForUpdates).buttons;
    ASSERT_EQ(buttons.size(), 5u);
    EXPECT_EQ(buttons[1], (AboutButton{"Help Center", openHelp, Colour::primary, false, true}));
    EXPECT_EQ(buttons[2], (AboutButton{"Privacy Policy", openHelp, Colour::primary, false, true}));
    EXPECT_EQ(buttons[3], (AboutButton{"Terms of Service", openHelp, Colour::primary, false, true}));
    EXPECT_EQ(buttons[4], (AboutButton{"Acknowledgements", showAcknowledgements, Colour::primary, false, true}));
  }
  EXPECT_EQ(helpPath, "/zolvex/help");
}

TEST(AboutPresentation, acknowledgesTheUpdateFrameworkWithItsLicence) {
  const auto alert = presentAcknowledgements();
  EXPECT_EQ(alert.message, "Acknowledgements");
  EXPECT_EQ(alert.informativeText, "Zolvex uses Sparkle for app updates.");
  EXPECT_EQ(alert.done, "Done");
  EXPECT_TRUE(alert.licence.starts_with("Copyright (c) "));
  for (const auto* part : {"Permission is hereby granted, free of charge, to any person obtaining a copy",
                           "The above copyright notice and this permission notice shall be included in all copies",
                           "THE SOFTWARE IS PROVIDED \"AS IS\", WITHOUT WARRANTY OF ANY KIND"})
    EXPECT_NE(alert.licence.find(part), std::string_view::npos) << part;
  EXPECT_EQ(std::count(alert.licence.begin(), alert.licence.end(), '\n'), 9);
}

}  // namespace
}  // namespace zolvex::test
