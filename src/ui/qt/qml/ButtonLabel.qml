import QtQuick
import Zolvex

/// A text in the middle, with a symbol before it when it has one.
Item {
    id: label

    required property string text
    required property string symbol
    required property color ink
    required property real size
    required property int weight

    implicitWidth: Math.ceil(words.implicitWidth) + content.markWidth

    Row {
        id: content

        readonly property int markWidth: mark.visible ? mark.width + spacing : 0

        anchors.centerIn: parent
        spacing: Theme.smallSpacing - 1

        SymbolItem {
            id: mark

            anchors.verticalCenter: parent.verticalCenter
            visible: label.symbol.length > 0
            width: Theme.symbol
            height: Theme.symbol
            name: label.symbol
            colour: label.ink
        }
        ThemedText {
            id: words

            anchors.verticalCenter: parent.verticalCenter
            width: Math.min(Math.ceil(implicitWidth), label.width - content.markWidth)
            isHeard: false
            text: label.text
            color: label.ink
            font.pointSize: label.size
            font.weight: label.weight
        }
    }
}
