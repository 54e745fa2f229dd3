import QtQuick
import QtQuick.Layouts
import Zolvex

/// A managed device: what it is, its name, whether it is here.
RowLayout {
    id: row

    required property string symbol
    required property string name
    required property string dot
    required property string caption

    spacing: 0
    Accessible.role: Accessible.ListItem
    Accessible.name: caption.length > 0 ? name + ", " + caption : name
    Accessible.description: dot === "green" ? "Connected" : "Disconnected"

    Item {
        Layout.preferredWidth: Theme.deviceSymbolWidth
        Layout.preferredHeight: Theme.symbol

        SymbolItem {
            anchors.centerIn: parent
            width: Theme.symbol
            height: Theme.symbol
            name: row.symbol
            colour: Theme.secondary
        }
    }
    ThemedText {
        Layout.leftMargin: Theme.stateTextX - Theme.deviceInset - Theme.deviceSymbolWidth
        Layout.rightMargin: Theme.smallSpacing
        Layout.fillWidth: true
        isHeard: false
        text: row.name
    }
    ThemedText {
        visible: row.caption.length > 0
        isHeard: false
        text: row.caption
        color: Theme.secondary
        font.pointSize: Theme.captionSize
        Layout.rightMargin: Theme.smallSpacing
    }
    Dot {
        role: row.dot
    }
}
