#include "ui/qt/PopoverPlacement.h"

#include <algorithm>

namespace zolvex {

namespace {

constexpr int iconReach = 12;      // half of an icon, at least
constexpr int gap = 6;             // between the icon, or the panel, and the popover
constexpr int usualTitleBar = 40;  // its height, of the larger ones

int clamped(int position, int length, int start, int end) {
  return std::max(start, std::min(position, end - length));
}

}  // namespace

int tallestPopover(const QRect& available) {
  return available.height() - 2 * gap;
}

int tallestWindow(const QMargins& frame, const QRect& available) {
  return available.height() - std::max(frame.top() + frame.bottom(), usualTitleBar);
}

QPoint placePopover(const QRect& anchor, const QSize& size, const QRect& available) {
  const auto area = available.adjusted(gap, gap, -gap, -gap);
  const int below = anchor.y() + anchor.height() + gap;
  const int above = anchor.y() - gap - size.height();
  const bool isRoomBelow = below + size.height() <= area.y() + area.height();
  const int x = anchor.x() + (anchor.width() - size.width()) / 2;
  return {clamped(x, size.width(), area.x(), area.x() + area.width()),
          clamped(isRoomBelow ? below : above, size.height(), area.y(), area.y() + area.height())};
}

QRect iconAround(const QPoint& click) {
  return QRect(click, QSize(1, 1)).adjusted(-iconReach, -iconReach, iconReach, iconReach);
}

QRect likelyIcon(const QRect& screen, const QRect& available) {
  const bool isAtTop = available.top() > screen.top();
  const bool isAtBottom = available.bottom() < screen.bottom();
  const bool isAtLeft = available.left() > screen.left();
  const bool isAtRight = available.right() < screen.right();
  const bool isLow = !isAtTop && (isAtBottom || isAtLeft || isAtRight);
  const bool isLeft = !isAtTop && !isAtBottom && isAtLeft;
  return {QPoint(isLeft ? screen.left() : screen.right(), isLow ? screen.bottom() : screen.top()), QSize(1, 1)};
}

}  // namespace zolvex
