import QtQuick
import QtQuick.Templates as T
import Zolvex

/// The part of a page that scrolls where the screen is too small for it. Whoever goes through it with the keyboard sees
/// where that is, also while a section opens and the window still grows.
Flickable {
    id: scroll

    readonly property Item focused: Window.activeFocusItem
    property bool followsKeyboard: true  // until somebody scrolls

    clip: true
    contentWidth: width
    boundsBehavior: Flickable.StopAtBounds
    T.ScrollBar.vertical: ScrollMark {}
    onFocusedChanged: {
        followsKeyboard = true
        reveal(focused)
    }
    onMovementStarted: followsKeyboard = false
    onHeightChanged: if (followsKeyboard) reveal(focused)
    onContentHeightChanged: if (followsKeyboard) reveal(focused)

    function reveal(item: Item) {
        let ancestor = item
        while (ancestor && ancestor !== contentItem) ancestor = ancestor.parent
        if (!ancestor) return
        const ring = Theme.tinySpacing  // around what has the keyboard
        const top = item.mapToItem(contentItem, 0, 0).y
        const bottom = top + item.height
        const highest = Math.max(top - ring, 0)
        const lowest = Math.min(bottom + ring, Math.max(bottom, contentHeight))
        contentY = Math.max(Math.min(contentY, highest), lowest - height)
    }
}
