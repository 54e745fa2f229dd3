// Qt 6.4 cannot bind components to the file that they are in.
// qmllint disable unqualified
import QtQuick
import QtQuick.Layouts
import Zolvex

/// The other computer: the registered one, or those that can be added.
ColumnLayout {
    id: section

    required property PeerSectionModel peers
    signal removalWanted

    spacing: Theme.smallSpacing

    RowLayout {
        visible: section.peers.searching.length > 0
        spacing: Theme.smallSpacing

        Spinner {
            Layout.preferredWidth: Theme.symbol
            Layout.preferredHeight: Theme.symbol
        }
        ThemedText {
            objectName: "searching"
            Layout.fillWidth: true
            text: section.peers.searching
            color: Theme.secondary
            font.pointSize: Theme.captionSize
        }
    }
    PeerLine {
        objectName: "registered"
        Layout.fillWidth: true
        visible: section.peers.hasPeer
        name: section.peers.registered.name
        dot: section.peers.registered.dot
        detail: section.peers.registered.detail
        button: section.peers.registered.button
        isProminent: section.peers.registered.isProminent
        tint: section.peers.registered.tint
        onClicked: section.removalWanted()
    }
    Repeater {
        model: section.peers.discovered

        PeerLine {
            required property string rowId

            objectName: "peer " + rowId
            Layout.fillWidth: true
            onClicked: section.peers.add(rowId)
        }
    }
}
