import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Zolvex

/// A question before something is taken away. Escape, and a click beside it, mean no.
T.Popup {
    id: alert

    required property alertValue question
    signal confirmed

    parent: T.Overlay.overlay
    anchors.centerIn: parent
    width: (parent ? parent.width : 0) - 2 * Theme.margin
    implicitHeight: contentHeight + topPadding + bottomPadding
    padding: Theme.margin + 2
    modal: true
    focus: true
    onOpened: cancelButton.forceActiveFocus(Qt.TabFocusReason)

    T.Overlay.modal: Rectangle {
        color: Theme.shade
    }
    background: Rectangle {
        radius: Theme.radius + 3
        color: Theme.surface
        border.width: Theme.border
        border.color: Theme.outline
    }
    contentHeight: column.implicitHeight

    ColumnLayout {
        id: column

        width: alert.availableWidth
        spacing: Theme.smallSpacing
        Accessible.role: Accessible.AlertMessage
        Accessible.name: alert.question.title
        Accessible.description: alert.question.message

        ThemedText {
            Layout.fillWidth: true
            text: alert.question.title
            wrapMode: Text.Wrap
            font.pointSize: Theme.headlineSize
            font.weight: Font.DemiBold
        }
        ThemedText {
            Layout.fillWidth: true
            text: alert.question.message
            color: Theme.secondary
            wrapMode: Text.Wrap
        }
        RowLayout {
            Layout.topMargin: Theme.tinySpacing
            spacing: Theme.smallSpacing

            PushButton {
                id: cancelButton

                objectName: "cancelAlert"
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                text: alert.question.cancel
                onClicked: alert.close()
            }
            PushButton {
                objectName: "confirmAlert"
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                text: alert.question.confirm
                tint: "red"
                isProminent: true
                onClicked: {
                    alert.close()
                    alert.confirmed()
                }
            }
        }
    }
}
