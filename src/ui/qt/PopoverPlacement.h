#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

namespace zolvex {

/// Where a popover of `size` belongs that points at `anchor`, the icon on a panel: below it and centred, or above it
/// where there is no room below, as near as possible without leaving `available`, the part of the screen that windows
/// may use. A popover larger than that begins at its top left corner.
QPoint placePopover(const QRect& anchor, const QSize& size, const QRect& available);

}  // namespace zolvex
