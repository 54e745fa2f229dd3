import QtQuick
import Zolvex

/// Shows which control has the keyboard: fills its parent and a little more.
Rectangle {
    property int inset: -3

    anchors.fill: parent
    anchors.margins: inset
    radius: Theme.radius + 2
    color: "transparent"
    border.width: Theme.focusWidth
    border.color: Theme.focus
}
