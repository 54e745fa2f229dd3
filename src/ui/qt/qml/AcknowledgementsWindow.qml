import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Zolvex

/// Whose work is in this program, and under which licence.
Window {
    id: window

    required property AboutModel about

    title: about.acknowledgements
    flags: Qt.Dialog
    modality: Qt.ApplicationModal
    color: Theme.surface
    width: Math.ceil(column.implicitWidth) + 2 * Theme.margin
    height: Math.ceil(column.implicitHeight) + 2 * Theme.margin
    minimumWidth: width
    minimumHeight: height

    FocusScope {
        anchors.fill: parent
        focus: true
        Keys.onEscapePressed: window.close()
        Keys.onReturnPressed: event => { if (!event.isAutoRepeat) window.close() }

        ColumnLayout {
            id: column

            anchors.fill: parent
            anchors.margins: Theme.margin
            spacing: Theme.smallSpacing

            ThemedText {
                text: window.about.acknowledgements
                font.pointSize: Theme.headlineSize
                font.weight: Font.DemiBold
                Accessible.role: Accessible.Heading
            }
            ThemedText {
                text: window.about.acknowledgementsText
                color: Theme.secondary
            }
            Rectangle {
                Layout.preferredWidth: Theme.licenceSize.width
                Layout.preferredHeight: Theme.licenceSize.height
                color: "transparent"
                border.width: Theme.border
                border.color: Theme.outline

                Flickable {
                    id: scroll

                    anchors.fill: parent
                    anchors.margins: 1
                    clip: true
                    contentWidth: width
                    contentHeight: text.implicitHeight
                    boundsBehavior: Flickable.StopAtBounds
                    T.ScrollBar.vertical: ScrollMark {
                        policy: T.ScrollBar.AlwaysOn
                    }

                    TextEdit {
                        id: text

                        objectName: "licence"
                        width: scroll.width - 8
                        padding: 10
                        activeFocusOnTab: true
                        readOnly: true
                        selectByMouse: true
                        wrapMode: TextEdit.Wrap
                        textFormat: TextEdit.PlainText
                        text: window.about.licence
                        color: Theme.text
                        selectionColor: Theme.accent
                        selectedTextColor: Theme.readableOn(Theme.accent)
                        font.pointSize: Theme.captionSize
                    }
                }
            }
            PushButton {
                objectName: "done"
                Layout.alignment: Qt.AlignRight
                Layout.minimumWidth: 90
                text: window.about.done
                tint: "accent"
                isProminent: true
                focus: true
                onClicked: window.close()
            }
        }
    }
}
