#include "ui/qt/PopoverPlacement.h"

#include <gtest/gtest.h>

namespace zolvex::test {
namespace {

const QSize size(320, 400);
const QRect wholeScreen(0, 0, 1280, 800);

QRect placed(const QRect& anchor, const QRect& available) {
  return {placePopover(anchor, size, available), size};
}

TEST(PopoverPlacementTest, hangsBelowAnIconOnATopPanel) {
  const auto popover = placed({600, 2, 24, 24}, {0, 28, 1280, 772});
  EXPECT_EQ(popover.center().x(), 611);
  EXPECT_GE(popover.top(), 28);
  EXPECT_LE(popover.top(), 40);
}

TEST(PopoverPlacementTest, standsAboveAnIconOnABottomPanel) {
  const auto popover = placed({1200, 776, 24, 24}, {0, 0, 1280, 772});
  EXPECT_LE(popover.right(), 1279);
  EXPECT_LE(popover.bottom(), 771);
  EXPECT_GE(popover.bottom(), 755);
}

TEST(PopoverPlacementTest, staysOnTheScreenInEveryCorner) {
  for (const auto& corner : {QPoint(0, 0), QPoint(1256, 0), QPoint(0, 776), QPoint(1256, 776)})
    EXPECT_TRUE(wholeScreen.contains(placed({corner, QSize(24, 24)}, wholeScreen))) << corner.x() << "," << corner.y();
}

TEST(PopoverPlacementTest, keepsBesideAPanelOnTheSide) {
  EXPECT_GE(placed({2, 300, 24, 24}, {28, 0, 1252, 800}).left(), 28);
  EXPECT_LE(placed({1254, 300, 24, 24}, {0, 0, 1252, 800}).right(), 1251);
}

TEST(PopoverPlacementTest, staysOnTheMonitorOfItsIcon) {
  const QRect second(1280, 0, 1024, 768);
  EXPECT_TRUE(second.contains(placed({1282, 2, 24, 24}, second)));
  const QRect left(-1024, 200, 1024, 768);
  EXPECT_TRUE(left.contains(placed({-30, 940, 24, 24}, left)));
}

TEST(PopoverPlacementTest, theTallestStaysOnTheScreenAtEveryPanel) {
  struct Panel {
    QRect icon, available;
  };
  for (const auto& [icon, available] :
       {Panel{{600, 2, 24, 24}, {0, 28, 1366, 740}}, Panel{{600, 742, 24, 24}, {0, 0, 1366, 740}},
        Panel{{2, 300, 24, 24}, {28, 0, 1338, 768}}, Panel{{1340, 300, 24, 24}, {0, 0, 1338, 768}}}) {
    const QSize tallest(320, tallestPopover(available));
    EXPECT_GT(tallest.height(), 700);
    EXPECT_TRUE(available.contains(QRect(placePopover(icon, tallest, available), tallest)))
        << icon.x() << "," << icon.y();
  }
}

TEST(PopoverPlacementTest, aWindowLeavesRoomForItsFrame) {
  const QRect available(0, 0, 1024, 600);
  EXPECT_EQ(tallestWindow({4, 60, 4, 4}, available), 536);
  EXPECT_EQ(tallestWindow({}, available), 560) << "the frame is not known before the window is shown";
}

TEST(PopoverPlacementTest, oneThatIsTooLargeShowsItsTop) {
  EXPECT_GE(placePopover({600, 2, 24, 24}, {320, 2000}, wholeScreen).y(), 0);
}

TEST(PopoverPlacementTest, anIconThatWasNeverClickedIsLookedForAtTheEndOfThePanel) {
  EXPECT_EQ(likelyIcon(wholeScreen, {0, 28, 1280, 772}), QRect(1279, 0, 1, 1)) << "at the top";
  EXPECT_EQ(likelyIcon(wholeScreen, {0, 0, 1280, 772}), QRect(1279, 799, 1, 1)) << "at the bottom";
  EXPECT_EQ(likelyIcon(wholeScreen, {48, 0, 1232, 800}), QRect(0, 799, 1, 1)) << "on the left";
  EXPECT_EQ(likelyIcon(wholeScreen, {0, 0, 1232, 800}), QRect(1279, 799, 1, 1)) << "on the right";
  EXPECT_EQ(likelyIcon(wholeScreen, {48, 28, 1232, 772}), QRect(1279, 0, 1, 1)) << "at the top, a dock on the left";
  EXPECT_EQ(likelyIcon(wholeScreen, wholeScreen), QRect(1279, 0, 1, 1)) << "nobody knows";
  EXPECT_EQ(likelyIcon({-1024, 200, 1024, 768}, {-1024, 200, 1024, 740}), QRect(-1, 967, 1, 1)) << "on another monitor";
}

TEST(PopoverPlacementTest, anIconThatWasClickedIsAroundThatPlace) {
  const auto icon = iconAround({1038, 14});
  EXPECT_EQ(icon.center(), QPoint(1038, 14));
  EXPECT_TRUE(icon.contains(1030, 22));
  EXPECT_FALSE(icon.contains(1060, 14));
}

}  // namespace
}  // namespace zolvex::test
