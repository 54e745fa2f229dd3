import QtQuick
import QtQuick.Templates as T
import Zolvex

/// The way back to the main page, with the title of the page that it leaves.
T.Button {
    id: bar

    required property string symbol

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: Theme.smallButtonHeight
    leftPadding: 4
    rightPadding: 8
    Accessible.name: "Back"
    Accessible.description: text
    Accessible.onPressAction: bar.clicked()
    Keys.onReturnPressed: event => { if (!event.isAutoRepeat) bar.clicked() }
    Keys.onEnterPressed: event => { if (!event.isAutoRepeat) bar.clicked() }

    background: Rectangle {
        radius: Theme.smallRadius
        color: bar.down ? Theme.controlPressed : bar.hovered ? Theme.controlHovered : "transparent"

        FocusRing {
            inset: 0
            visible: bar.visualFocus
        }
    }
    contentItem: Row {
        spacing: Theme.tinySpacing

        SymbolItem {
            anchors.verticalCenter: parent.verticalCenter
            width: Theme.symbol
            height: Theme.symbol
            name: bar.symbol
            colour: Theme.secondary
        }
        ThemedText {
            anchors.verticalCenter: parent.verticalCenter
            isHeard: false
            text: bar.text
            font.pointSize: Theme.headlineSize
            font.weight: Font.DemiBold
        }
    }
}
