import QtQuick
import QtQuick.Templates as T
import Zolvex

/// A plain button that is only a symbol. `text` is what a screen reader says, and the tip.
T.Button {
    id: button

    required property string symbol

    implicitWidth: Theme.symbol + 12
    implicitHeight: implicitWidth
    Accessible.name: text
    Accessible.onPressAction: button.clicked()
    Keys.onReturnPressed: event => { if (!event.isAutoRepeat) button.clicked() }
    Keys.onEnterPressed: event => { if (!event.isAutoRepeat) button.clicked() }

    background: Rectangle {
        radius: Theme.smallRadius
        color: button.down ? Theme.controlPressed : button.hovered ? Theme.controlHovered : "transparent"

        FocusRing {
            inset: 0
            visible: button.visualFocus
        }
    }
    contentItem: Item {
        SymbolItem {
            anchors.centerIn: parent
            width: Theme.symbol
            height: Theme.symbol
            name: button.symbol
            colour: Theme.secondary
        }
    }
    HoverTip {
        visible: button.hovered
        text: button.text
    }
}
