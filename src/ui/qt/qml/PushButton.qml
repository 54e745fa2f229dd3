import QtQuick
import QtQuick.Templates as T
import Zolvex

/// A button with text, and perhaps a symbol before it. A prominent one is filled with its tint; others show it as the
/// colour of their text.
T.Button {
    id: button

    property string symbol
    property string tint: "primary"
    property bool isProminent: false
    property bool isSmall: false

    readonly property color fill: isProminent ? Theme.fill(tint)
                                : down ? Theme.controlPressed : hovered ? Theme.controlHovered : Theme.control
    readonly property color ink: isProminent ? Theme.readableOn(fill) : Theme.colour(tint)

    implicitWidth: Math.ceil(implicitContentWidth) + leftPadding + rightPadding
    implicitHeight: isSmall ? Theme.smallButtonHeight : Theme.buttonHeight
    leftPadding: isSmall ? 10 : 14
    rightPadding: leftPadding
    Accessible.name: text
    opacity: enabled ? 1 : 0.5
    Accessible.description: enabled ? "" : "Not available"  // Qt 6.4 does not tell that by itself
    Accessible.onPressAction: if (button.enabled) button.clicked()
    Keys.onReturnPressed: event => { if (!event.isAutoRepeat) button.clicked() }
    Keys.onEnterPressed: event => { if (!event.isAutoRepeat) button.clicked() }

    background: Rectangle {
        radius: button.isSmall ? Theme.smallRadius : Theme.radius
        color: button.fill
        border.width: button.isProminent ? 0 : Theme.border
        border.color: Theme.outline

        Rectangle {  // a prominent button keeps its colour, a little darker or lighter
            anchors.fill: parent
            radius: parent.radius
            visible: button.isProminent && (button.down || button.hovered)
            color: button.ink
            opacity: button.down ? 0.16 : 0.07
        }
        FocusRing {
            visible: button.visualFocus
        }
    }

    contentItem: ButtonLabel {
        text: button.text
        symbol: button.symbol
        ink: button.ink
        size: button.isSmall ? Theme.captionSize : Theme.bodySize
        weight: button.isProminent ? Font.DemiBold : Font.Normal
    }
}
