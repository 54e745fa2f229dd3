import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Zolvex

/// The row that opens and closes a section of the settings.
T.Button {
    id: header

    required property sectionValue section

    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    padding: Theme.smallSpacing + 2
    text: section.title
    Accessible.name: text
    Accessible.description: section.summary
    Accessible.checkable: true
    Accessible.checked: section.isExpanded
    Accessible.onPressAction: header.clicked()
    Keys.onReturnPressed: event => { if (!event.isAutoRepeat) header.clicked() }
    Keys.onEnterPressed: event => { if (!event.isAutoRepeat) header.clicked() }

    background: Rectangle {
        radius: Theme.radius
        color: header.down ? Theme.controlPressed : header.hovered ? Theme.controlHovered : "transparent"

        FocusRing {
            inset: 0
            visible: header.visualFocus
        }
    }
    contentItem: RowLayout {
        spacing: Theme.smallSpacing

        SymbolItem {
            Layout.leftMargin: (Theme.deviceSymbolWidth - width) / 2
            Layout.rightMargin: Layout.leftMargin
            implicitWidth: Theme.symbol + 2
            implicitHeight: Theme.symbol + 2
            name: header.section.symbol
            colour: Theme.secondary
        }
        ColumnLayout {
            spacing: 1

            ThemedText {
                Layout.fillWidth: true
                isHeard: false
                text: header.section.title
                font.weight: Font.DemiBold
            }
            ThemedText {
                Layout.fillWidth: true
                isHeard: false
                text: header.section.summary
                color: Theme.secondary
                font.pointSize: Theme.captionSize
            }
        }
        SymbolItem {
            implicitWidth: Theme.symbol
            implicitHeight: Theme.symbol
            name: header.section.chevron
            colour: Theme.secondary
        }
    }
}
