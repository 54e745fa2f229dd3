import QtQuick
import Zolvex

/// The keys of the hot key, as if printed on them.
Rectangle {
    id: badge

    required property string keys
    required property string tip
    required property color ink

    implicitWidth: Math.ceil(label.implicitWidth) + 12
    implicitHeight: Math.ceil(label.implicitHeight) + 4
    radius: Theme.smallRadius
    color: Qt.alpha(ink, 0.12)
    border.width: 1
    border.color: Qt.alpha(ink, Theme.strong ? 1 : 0.18)
    Accessible.role: Accessible.StaticText
    Accessible.name: tip

    ThemedText {
        id: label

        anchors.centerIn: parent
        isHeard: false
        text: badge.keys
        color: badge.ink
        font.family: "monospace"
        font.pointSize: Theme.captionSize
        font.weight: Font.DemiBold
    }
    HoverHandler {
        id: pointer
    }
    HoverTip {
        visible: pointer.hovered
        text: badge.tip
    }
}
