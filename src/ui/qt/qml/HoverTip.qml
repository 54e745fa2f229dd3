import QtQuick
import QtQuick.Templates as T
import Zolvex

/// What a control says when the pointer rests on it.
T.ToolTip {
    id: tip

    delay: 600
    y: (parent ? parent.height : 0) + Theme.tinySpacing
    margins: Theme.tinySpacing
    padding: Theme.tinySpacing
    leftPadding: Theme.smallSpacing
    rightPadding: Theme.smallSpacing
    implicitWidth: contentItem.implicitWidth + leftPadding + rightPadding
    implicitHeight: contentItem.implicitHeight + topPadding + bottomPadding

    contentItem: ThemedText {
        isHeard: false
        text: tip.text
        color: Theme.surface
        font.pointSize: Theme.captionSize
    }
    background: Rectangle {
        radius: Theme.smallRadius
        color: Theme.text
    }
}
