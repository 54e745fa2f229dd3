// Qt 6.4 cannot bind components to the file that they are in.
// qmllint disable unqualified
import QtQuick
import QtQuick.Layouts
import Zolvex

/// What this program is, and where to read more.
FocusScope {
    id: page

    required property PopoverModel popover
    readonly property AboutModel shown: popover.about

    implicitHeight: scroll.y + scroll.contentHeight
    Component.onCompleted: back.forceActiveFocus()

    BackBar {
        id: back

        objectName: "back"
        x: Theme.margin - 4
        y: Theme.margin
        symbol: page.shown.backSymbol
        text: page.shown.title
        onClicked: page.popover.back()
    }
    PageScroll {
        id: scroll

        y: back.y + back.height + Theme.spacing
        width: page.width
        height: page.height - y
        contentHeight: column.implicitHeight + Theme.margin

        ColumnLayout {
            id: column

            x: Theme.margin
            width: scroll.width - 2 * Theme.margin
            spacing: Theme.spacing

            ColumnLayout {
                Layout.fillWidth: true
                Layout.margins: Theme.spacing
                spacing: Theme.smallSpacing

                SymbolItem {
                    Layout.alignment: Qt.AlignHCenter
                    Layout.preferredWidth: Theme.applicationIcon
                    Layout.preferredHeight: Theme.applicationIcon
                    name: page.shown.image
                    Accessible.ignored: true
                }
                ThemedText {
                    Layout.fillWidth: true
                    horizontalAlignment: Text.AlignHCenter
                    text: page.shown.line
                    wrapMode: Text.Wrap
                    font.pointSize: Theme.titleSize
                    font.weight: Font.DemiBold
                    Accessible.role: Accessible.Heading
                }
                ThemedText {
                    Layout.fillWidth: true
                    horizontalAlignment: Text.AlignHCenter
                    text: page.popover.version
                    color: Theme.tertiary
                    font.pointSize: Theme.captionSize
                }
            }
            ColumnLayout {
                spacing: Theme.smallSpacing

                Repeater {
                    model: page.shown.buttons

                    PushButton {
                        required property int index
                        required property string modelData

                        objectName: modelData
                        Layout.fillWidth: true
                        text: modelData
                        tint: page.shown.tint(index)
                        isProminent: page.shown.isProminent(index)
                        enabled: page.shown.isEnabled(index)
                        onClicked: page.shown.run(index)
                    }
                }
            }
        }
    }
}
