// Qt 6.4 cannot bind components to the file that they are in.
// qmllint disable unqualified
import QtQuick
import QtQuick.Layouts
import Zolvex

/// The settings, which are also the setup: three sections, what is still missing, and the way out.
FocusScope {
    id: page

    required property PopoverModel popover
    readonly property SettingsModel shown: popover.settings
    property int maximumHeight: 100000

    readonly property int frameHeight: top.implicitHeight + bottom.implicitHeight + 2 * Theme.margin
                                       + 2 * Theme.spacing

    implicitHeight: Math.min(sections.implicitHeight + frameHeight, maximumHeight)
    Component.onCompleted: forceActiveFocus()
    Keys.onReturnPressed: event => { if (!event.isAutoRepeat) shown.save() }
    Keys.onEnterPressed: event => { if (!event.isAutoRepeat) shown.save() }

    BackBar {
        id: back

        objectName: "back"
        x: Theme.margin - 4
        y: Theme.margin
        symbol: page.shown.backSymbol
        text: page.shown.title
        onClicked: page.popover.back()
    }
    Item {
        id: top

        implicitHeight: back.implicitHeight
    }
    PageScroll {
        id: scroll

        anchors.fill: parent
        anchors.topMargin: Theme.margin + top.implicitHeight + Theme.spacing
        anchors.bottomMargin: Theme.margin + bottom.implicitHeight + Theme.spacing
        contentHeight: sections.implicitHeight

        ColumnLayout {
            id: sections

            x: Theme.margin
            width: scroll.width - 2 * Theme.margin
            spacing: Theme.smallSpacing

            Section {
                objectName: "devices"
                Layout.fillWidth: true
                header: page.shown.devicesHeader
                onClicked: page.shown.clickSection(SettingsModel.Devices)
                content: DevicesSection {
                    devices: page.shown.pairedDevices
                }
            }
            Section {
                objectName: "peer"
                Layout.fillWidth: true
                header: page.shown.peerHeader
                onClicked: page.shown.clickSection(SettingsModel.Peer)
                content: PeerSection {
                    peers: page.shown.peers
                    onRemovalWanted: removeAlert.open()
                }
            }
            Section {
                objectName: "preferences"
                Layout.fillWidth: true
                header: page.shown.preferencesHeader
                onClicked: page.shown.clickSection(SettingsModel.Preferences)
                content: PreferencesSection {
                    preferences: page.shown.preferences
                }
            }
        }
    }
    ColumnLayout {
        id: bottom

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.margins: Theme.margin
        spacing: Theme.smallSpacing

        ThemedText {
            objectName: "hint"
            Layout.fillWidth: true
            visible: text.length > 0
            text: page.shown.hint
            color: Theme.secondary
            font.pointSize: Theme.captionSize
            wrapMode: Text.Wrap
        }
        RowLayout {
            spacing: Theme.smallSpacing

            PushButton {
                objectName: "save"
                Layout.fillWidth: true
                text: page.shown.saveText
                tint: "accent"
                isProminent: true
                onClicked: page.shown.save()
            }
            PushButton {
                objectName: "uninstall"
                text: page.shown.uninstallText
                tint: page.shown.uninstallTint
                onClicked: uninstallAlert.open()
            }
        }
    }
    Alert {
        id: removeAlert

        objectName: "removeAlert"
        question: page.shown.peers.removeAlert
        onConfirmed: page.shown.peers.remove()
    }
    Alert {
        id: uninstallAlert

        objectName: "uninstallAlert"
        question: page.shown.uninstallAlert
        onConfirmed: page.shown.uninstall()
    }
}
