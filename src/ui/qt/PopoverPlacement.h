#pragma once

#include <QMargins>
#include <QPoint>
#include <QRect>
#include <QSize>

namespace zolvex {

/// The greatest height of a popover that points at an icon: what placePopover() can place without cutting it off.
int tallestPopover(const QRect& available);

/// The greatest height of a popover that is a window with `frame`. Before it is shown nobody knows its frame, so there
/// is always room for a title bar.
int tallestWindow(const QMargins& frame, const QRect& available);

/// Where a popover of `size` belongs that points at `anchor`, the icon on a panel: below it and centred, or above it
/// where there is no room below, as near as possible without leaving `available`, the part of the screen that windows
/// may use. A popover larger than that begins at its top left corner.
QPoint placePopover(const QRect& anchor, const QSize& size, const QRect& available);

/// Where an icon probably is that was clicked at `click`, on a panel that does not tell its place.
QRect iconAround(const QPoint& click);

/// Where an icon probably is that was never clicked: the right end of a panel at the top or the bottom, the lower end
/// of one at a side, as the part of the screen that windows may use tells where the panel is; else the top right
/// corner. One pixel at the edge of the screen.
QRect likelyIcon(const QRect& screen, const QRect& available);

}  // namespace zolvex
