// Qt 6.4 cannot bind components to the file that they are in.
// qmllint disable unqualified
import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Zolvex

/// Who has the devices, whether the other computer answers, what can be done now, and the devices.
FocusScope {
    id: page

    required property PopoverModel popover
    readonly property MainModel shown: popover.mainPage

    implicitHeight: column.implicitHeight + 2 * Theme.margin
    Component.onCompleted: primary.forceActiveFocus()
    Keys.onReturnPressed: event => { if (!event.isAutoRepeat) shown.runPrimary() }
    Keys.onEnterPressed: event => { if (!event.isAutoRepeat) shown.runPrimary() }

    ColumnLayout {
        id: column

        anchors.fill: parent
        anchors.margins: Theme.margin
        spacing: Theme.spacing

        RowLayout {
            spacing: Theme.tinySpacing

            ThemedText {
                text: page.popover.title
                font.pointSize: Theme.headlineSize
                font.weight: Font.DemiBold
                Accessible.role: Accessible.Heading
            }
            HotKeyBadge {
                Layout.leftMargin: Theme.tinySpacing
                keys: page.popover.hotKeyBadge
                tip: page.popover.hotKeyTooltip
                ink: Theme.colour(page.popover.hotKeyColour)
            }
            Item {
                Layout.fillWidth: true
            }
            IconButton {
                objectName: "about"
                symbol: page.popover.aboutSymbol
                text: page.popover.aboutName
                onClicked: page.popover.showAbout()
            }
            IconButton {
                objectName: "settings"
                Layout.rightMargin: -6
                symbol: page.popover.settingsSymbol
                text: page.popover.settingsName
                onClicked: page.popover.showSettings()
            }
        }

        StateHeader {
            Layout.fillWidth: true
            header: page.shown.header
            onCancelled: page.shown.cancel()
        }

        RowLayout {
            spacing: Theme.smallSpacing

            Item {
                Layout.preferredWidth: Theme.indicatorWidth + Theme.spacing - Theme.smallSpacing
                Layout.preferredHeight: Theme.dot

                Dot {
                    objectName: "peerDot"
                    x: (Theme.indicatorWidth - width) / 2
                    role: page.shown.peerDot
                }
            }
            ThemedText {
                objectName: "peerText"
                Layout.fillWidth: true
                text: page.shown.peerText
                color: Theme.secondary
                font.pointSize: Theme.captionSize
            }
        }

        PushButton {
            id: primary

            objectName: "primary"
            Layout.fillWidth: true
            text: page.shown.primary.text
            symbol: page.shown.primary.symbol
            tint: page.shown.primary.tint
            isProminent: true
            onClicked: page.shown.runPrimary()
        }
        PushButton {
            objectName: "secondary"
            Layout.fillWidth: true
            visible: page.shown.hasSecondary
            text: page.shown.secondary.text
            symbol: page.shown.secondary.symbol
            tint: page.shown.secondary.tint
            onClicked: page.shown.runSecondary()
        }

        Rectangle {
            Layout.fillWidth: true
            Layout.preferredHeight: Theme.border
            visible: devices.count > 0
            color: Theme.outline
        }
        ListView {
            id: devices

            objectName: "devices"
            Layout.fillWidth: true
            Layout.fillHeight: true  // it alone gives way where the screen is small
            Layout.minimumHeight: Math.min(contentHeight, Theme.leastListHeight)
            Layout.preferredHeight: Math.min(contentHeight, Theme.listHeight)
            Layout.maximumHeight: Layout.preferredHeight
            Layout.topMargin: -Theme.tinySpacing
            Layout.bottomMargin: -Theme.tinySpacing
            visible: count > 0
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            activeFocusOnTab: contentHeight > height
            keyNavigationEnabled: true
            model: page.shown.devices
            Accessible.role: Accessible.List
            Accessible.name: "Devices"
            T.ScrollBar.vertical: ScrollMark {}

            delegate: Item {
                id: device

                required property string symbol
                required property string name
                required property string dot
                required property string caption

                width: ListView.view.width
                height: Theme.rowHeight

                DeviceRow {
                    anchors.fill: parent
                    anchors.margins: Theme.deviceInset
                    anchors.rightMargin: devices.contentHeight > devices.height ? 12 : Theme.deviceInset
                    symbol: device.symbol
                    name: device.name
                    dot: device.dot
                    caption: device.caption
                }
            }
            FocusRing {
                parent: devices
                inset: 0
                visible: devices.activeFocus
            }
        }

        RowLayout {
            spacing: Theme.smallSpacing

            ThemedText {
                objectName: "version"
                Layout.fillWidth: true
                text: page.popover.version
                color: Theme.colour(page.popover.versionColour)
                font.pointSize: Theme.captionSize
            }
            PushButton {
                objectName: "quit"
                Layout.minimumWidth: 50 + leftPadding + rightPadding
                text: page.popover.quitText
                tint: page.popover.quitTint
                isSmall: true
                onClicked: page.popover.quit()
            }
        }
    }
}
