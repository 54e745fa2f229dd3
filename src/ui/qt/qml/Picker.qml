// Qt 6.4 cannot bind components to the file that they are in.
// qmllint disable unqualified
import QtQuick
import QtQuick.Templates as T
import Zolvex

/// One of a few texts, chosen from a menu.
T.ComboBox {
    id: picker

    implicitWidth: Math.ceil(widest()) + leftPadding + rightPadding
    implicitHeight: Theme.smallButtonHeight
    leftPadding: 10
    rightPadding: 10 + Theme.symbol
    Accessible.description: displayText
    Accessible.onPressAction: if (enabled) popup.open()
    Keys.onReturnPressed: event => { if (!event.isAutoRepeat) popup.open() }
    Keys.onEnterPressed: event => { if (!event.isAutoRepeat) popup.open() }

    function widest(): real {
        let width = 0
        for (let i = 0; i < count; ++i) width = Math.max(width, Theme.metrics.advanceWidth(textAt(i)))
        return width
    }

    contentItem: ThemedText {
        isHeard: false
        text: picker.displayText
    }
    indicator: SymbolItem {
        x: picker.width - width - 6
        y: (picker.height - height) / 2
        width: Theme.symbol - 2
        height: width
        name: "chevron.down"
        colour: Theme.secondary
    }
    background: Rectangle {
        radius: Theme.smallRadius
        color: picker.down ? Theme.controlPressed : picker.hovered ? Theme.controlHovered : Theme.control
        border.width: Theme.border
        border.color: Theme.outline

        FocusRing {
            visible: picker.visualFocus
        }
    }
    delegate: T.ItemDelegate {
        id: choice

        required property int index
        required property string modelData

        width: ListView.view ? ListView.view.width : 0
        height: Theme.rowHeight
        leftPadding: 10
        highlighted: picker.highlightedIndex === index
        text: modelData
        Accessible.onPressAction: choice.clicked()

        contentItem: ThemedText {
            isHeard: false
            text: choice.text
            color: choice.highlighted ? Theme.readableOn(Theme.accent) : Theme.text
        }
        background: Rectangle {
            radius: Theme.smallRadius
            color: choice.highlighted ? Theme.accent : "transparent"
        }
    }
    popup: T.Popup {
        y: picker.height + 2
        width: picker.width
        margins: Theme.tinySpacing
        padding: 3
        implicitHeight: contentItem.implicitHeight + topPadding + bottomPadding

        contentItem: ListView {
            implicitHeight: contentHeight
            clip: true
            model: picker.delegateModel
            currentIndex: picker.highlightedIndex
        }
        background: Rectangle {
            radius: Theme.radius
            color: Theme.surface
            border.width: Theme.border
            border.color: Theme.outline
        }
    }
}
