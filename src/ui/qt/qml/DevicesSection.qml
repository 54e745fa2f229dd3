// Qt 6.4 cannot bind components to the file that they are in.
// qmllint disable unqualified
import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Zolvex

/// The paired devices, to choose those that move between the computers.
ColumnLayout {
    id: section

    required property PairedDevicesModel devices

    spacing: 0

    RowLayout {
        Layout.bottomMargin: Theme.tinySpacing
        visible: section.devices.scanning.length > 0
        spacing: Theme.smallSpacing

        Spinner {
            Layout.preferredWidth: Theme.symbol
            Layout.preferredHeight: Theme.symbol
        }
        ThemedText {
            objectName: "scanning"
            Layout.fillWidth: true
            text: section.devices.scanning
            color: Theme.secondary
            font.pointSize: Theme.captionSize
        }
    }
    ThemedText {
        objectName: "nothingFound"
        Layout.fillWidth: true
        visible: text.length > 0
        text: section.devices.nothingFound
        wrapMode: Text.Wrap
    }
    ThemedText {
        Layout.fillWidth: true
        Layout.topMargin: Theme.tinySpacing
        visible: text.length > 0
        text: section.devices.nothingFoundHint
        color: Theme.secondary
        font.pointSize: Theme.captionSize
        wrapMode: Text.Wrap
    }
    Repeater {
        model: section.devices.rows

        T.CheckBox {
            id: row

            required property string rowId
            required property string symbol
            required property string name
            required property string dot
            required property bool isSelected
            required property string mark
            required property string markColour

            objectName: "device " + rowId
            Layout.fillWidth: true
            Layout.preferredHeight: Theme.rowHeight
            leftInset: -Theme.tinySpacing
            rightInset: -Theme.tinySpacing
            checked: isSelected
            text: name
            Accessible.name: text
            Accessible.description: dot === "green" ? "Connected" : "Disconnected"
            Accessible.onPressAction: row.clicked()
            Accessible.onToggleAction: row.clicked()
            nextCheckState: function() { return row.isSelected ? Qt.Checked : Qt.Unchecked }
            onClicked: section.devices.toggle(rowId)
            Keys.onReturnPressed: event => { if (!event.isAutoRepeat) row.clicked() }
            Keys.onEnterPressed: event => { if (!event.isAutoRepeat) row.clicked() }

            background: Rectangle {
                radius: Theme.smallRadius
                color: row.down ? Theme.controlPressed : row.hovered ? Theme.controlHovered : "transparent"

                FocusRing {
                    inset: 0
                    visible: row.visualFocus
                }
            }
            contentItem: RowLayout {
                spacing: Theme.smallSpacing

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
                    Layout.fillWidth: true
                    isHeard: false
                    text: row.name
                }
                Dot {
                    role: row.dot
                }
                SymbolItem {
                    implicitWidth: Theme.symbol + 2
                    implicitHeight: Theme.symbol + 2
                    name: row.mark
                    colour: Theme.colour(row.markColour)
                }
            }
        }
    }
}
