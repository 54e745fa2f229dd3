#include "ui/desktop/DesktopWorld.h"
#include "ui/desktop/StatusNotifierPanel.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <functional>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

constexpr auto icon = StatusNotifierPanel::icon;
constexpr QPoint besideIcon = icon + QPoint(120, 0);
constexpr int rightButton = 3;
constexpr int screenWidth = 1280;
constexpr std::chrono::seconds menuLimit{2};

using Kind = StatusNotifierPanel::Kind;

const char* nameOf(Kind kind) {
  return kind == Kind::xfce ? "xfce" : "lxqt";
}

/// Real panels that take icons over the bus. Neither tells a program without a menu of right clicks.
struct StatusNotifierTest : testing::TestWithParam<Kind> {
  void SetUp() override {
    for (const auto& reason : {DesktopWorld::reasonAgainst(), panel.reasonAgainst()})
      if (!reason.empty()) GTEST_SKIP() << reason;
    ASSERT_TRUE(desktop.start());
    desktop.stopPanel();
    desktop.computer.writeSettings(
        R"({"managedDeviceAddresses": ["A1"], "autoConnect": false, "didOpenAtFirstStart": true})");
  }
  void startPanel() {
    auto variables = desktop.variables();
    variables.emplace_back(u"GSETTINGS_BACKEND"_s, u"memory"_s);
    variables.emplace_back(u"NO_AT_BRIDGE"_s, u"1"_s);
    panel.start(variables);
  }
  ProgramRun& zolvex() { return *desktop.computer.zolvex; }

  /// The panel takes the icon some time after it was offered.
  [[nodiscard]] bool opensPopover() {
    return runUntil([this] {
      desktop.click(icon);
      return desktop.isShownNow();
    });
  }
  [[nodiscard]] bool isAtTheIcon() {
    return runUntil([this] { return std::abs(desktop.popover().center().x() - icon.x()) < 5; });
  }
  /// A menu that is on the screen already gets the keyboard some time later, and keys until then are lost.
  [[nodiscard]] bool menuDoes(const QString& key, const std::function<bool()>& isDone) {
    const QRect below(icon + QPoint(30, 30), QSize(40, 40));
    const auto bare = desktop.picture(below);
    return runUntil([&] {
      desktop.click(icon, rightButton);
      if (!runUntil([&] { return desktop.picture(below) != bare; }, menuLimit)) return false;
      desktop.press(key);
      desktop.press(u"Return"_s);
      if (runUntil(isDone, menuLimit)) return true;
      desktop.press(u"Escape"_s);
      return false;
    });
  }

  DesktopWorld desktop;
  StatusNotifierPanel panel{GetParam()};
};

TEST_P(StatusNotifierTest, aLeftClickOnlyEverShowsAndOneBesideTheIconCloses) {
  startPanel();
  ASSERT_TRUE(desktop.startZolvex());
  ASSERT_TRUE(opensPopover());
  desktop.click(icon);
  EXPECT_FALSE(desktop.isHidden(std::chrono::milliseconds(300)));
  desktop.click(besideIcon);
  EXPECT_TRUE(desktop.isHidden());
  desktop.click(icon);
  EXPECT_TRUE(desktop.isShown());
  EXPECT_EQ(desktop.computer.end(), 0);
}

TEST_P(StatusNotifierTest, aRightClickOffersTheMenu) {
  startPanel();
  ASSERT_TRUE(desktop.startZolvex());
  ASSERT_TRUE(opensPopover());
  desktop.press(u"Escape"_s);
  ASSERT_TRUE(desktop.isHidden());
  ASSERT_TRUE(menuDoes(u"Down"_s, [&] { return desktop.isShownNow(); }));  // Open Zolvex
  desktop.press(u"Escape"_s);
  ASSERT_TRUE(desktop.isHidden());
  ASSERT_TRUE(menuDoes(u"Up"_s, [&] { return zolvex().isEnded(); }));  // Quit
  EXPECT_EQ(zolvex().exitStatus(), 0);
}

TEST_P(StatusNotifierTest, openedByCommandItIsAtTheEndOfThePanelAndLaterWhereTheIconWasClicked) {
  startPanel();
  ASSERT_TRUE(desktop.startZolvex());
  ASSERT_TRUE(zolvex().complains("the status item is in the panel"));
  desktop.click(DesktopWorld::nowhere);
  ASSERT_TRUE(desktop.computer.control({u"show"_s}).exitStatus() == 0 && desktop.isShown());
  EXPECT_TRUE(runUntil([this] { return desktop.popover().right() > screenWidth - 20; }));
  EXPECT_LT(desktop.popover().top(), 2 * icon.y() + 20);
  desktop.press(u"Escape"_s);
  ASSERT_TRUE(desktop.isHidden());
  ASSERT_TRUE(opensPopover());
  EXPECT_TRUE(isAtTheIcon());
  desktop.press(u"Escape"_s);
  ASSERT_TRUE(desktop.isHidden());
  desktop.click(DesktopWorld::nowhere);
  ASSERT_TRUE(desktop.computer.control({u"show"_s}).exitStatus() == 0 && desktop.isShown());
  EXPECT_TRUE(isAtTheIcon());
  EXPECT_EQ(desktop.computer.end(), 0);
}

TEST_P(StatusNotifierTest, thePanelMayComeLateAndRestart) {
  ASSERT_TRUE(desktop.startZolvex());
  startPanel();
  ASSERT_TRUE(zolvex().complains("the status item is in the panel"));
  ASSERT_TRUE(opensPopover());
  panel.stop();
  ASSERT_TRUE(zolvex().complains("the panel with the status item is gone"));
  desktop.press(u"Escape"_s);
  ASSERT_TRUE(desktop.isHidden());
  startPanel();
  EXPECT_TRUE(opensPopover());
  EXPECT_EQ(desktop.computer.end(), 0);
}

TEST_P(StatusNotifierTest, theSessionBusMayRestart) {
  startPanel();
  ASSERT_TRUE(desktop.startZolvex());
  ASSERT_TRUE(opensPopover());
  desktop.press(u"Escape"_s);
  ASSERT_TRUE(desktop.isHidden());
  desktop.computer.sessionBus.stop();
  ASSERT_TRUE(zolvex().complains("the panel with the status item is gone"));
  panel.stop();
  ASSERT_TRUE(desktop.computer.sessionBus.start());
  ASSERT_TRUE(zolvex().complains("start Zolvex again for screen readers"));
  startPanel();
  EXPECT_TRUE(opensPopover());
  EXPECT_EQ(desktop.computer.end(), 0);
}

INSTANTIATE_TEST_SUITE_P(Panels, StatusNotifierTest, testing::Values(Kind::xfce, Kind::lxqt),
                         [](const auto& panel) { return nameOf(panel.param); });

}  // namespace
}  // namespace zolvex::test
