import QtQuick
import QtQuick.Layouts
import Zolvex

/// Who has the devices, and what is going on.
RowLayout {
    id: state

    required property headerValue header
    signal cancelled

    spacing: Theme.spacing

    Item {
        Layout.preferredWidth: Theme.indicatorWidth
        Layout.preferredHeight: Theme.headerSymbol

        Spinner {
            anchors.centerIn: parent
            visible: state.header.showsSpinner
            width: Theme.symbol + 2
            height: width
        }
        SymbolItem {
            anchors.centerIn: parent
            visible: !state.header.showsSpinner
            width: Theme.headerSymbol
            height: Theme.headerSymbol
            name: state.header.symbol
            colour: Theme.colour(state.header.colour)
        }
    }
    ColumnLayout {
        Layout.fillWidth: true
        spacing: 1

        ThemedText {
            objectName: "stateTitle"
            Layout.fillWidth: true
            text: state.header.title
            font.weight: Font.DemiBold
        }
        ThemedText {
            objectName: "stateSubtitle"
            Layout.fillWidth: true
            text: state.header.subtitle
            color: Theme.secondary
            font.pointSize: Theme.captionSize
            wrapMode: Text.Wrap
            maximumLineCount: 3
        }
    }
    PushButton {
        objectName: "cancel"
        visible: state.header.showsCancel
        text: state.header.cancel
        isSmall: true
        onClicked: state.cancelled()
    }
}
