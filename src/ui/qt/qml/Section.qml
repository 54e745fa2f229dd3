import QtQuick
import Zolvex

/// A section of the settings: its header, and below it its content while it is open.
Rectangle {
    id: section

    required property sectionValue header
    property Component content
    signal clicked

    readonly property Item shownContent: loader.item as Item
    readonly property real openHeight: shownContent ? shownContent.implicitHeight + Theme.smallSpacing + 2 : 0

    implicitHeight: bar.implicitHeight + body.height
    radius: Theme.radius
    color: Theme.raised
    border.width: Theme.border
    border.color: Theme.outline

    SectionHeader {
        id: bar

        objectName: section.objectName + "Header"
        width: parent.width
        section: section.header
        onClicked: section.clicked()
    }
    Item {
        id: body

        anchors.top: bar.bottom
        width: parent.width
        height: section.header.isExpanded ? section.openHeight : 0
        clip: true

        Behavior on height {
            NumberAnimation {
                duration: Theme.shortDuration
                easing.type: Easing.OutCubic
            }
        }
        Loader {
            id: loader

            x: Theme.smallSpacing + 2
            width: parent.width - 2 * x
            active: section.header.isExpanded || body.height > 0
            sourceComponent: section.content
        }
    }
}
