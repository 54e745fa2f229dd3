import QtQuick
import QtQuick.Layouts
import Zolvex

/// Another computer with the one thing that can be done with it.
RowLayout {
    id: line

    required property string name
    required property string dot
    required property string detail
    required property string button
    required property bool isProminent
    required property string tint
    signal clicked

    spacing: Theme.smallSpacing

    Item {
        Layout.preferredWidth: Theme.deviceSymbolWidth
        Layout.preferredHeight: Theme.dot

        Dot {
            anchors.centerIn: parent
            role: line.dot
        }
    }
    ColumnLayout {
        spacing: 1

        ThemedText {
            Layout.fillWidth: true
            text: line.name
        }
        ThemedText {
            Layout.fillWidth: true
            text: line.detail
            color: Theme.secondary
            font.pointSize: Theme.captionSize
        }
    }
    PushButton {
        objectName: line.objectName + "Button"
        text: line.button
        tint: line.tint
        isProminent: line.isProminent
        isSmall: true
        Accessible.description: line.name
        onClicked: line.clicked()
    }
}
