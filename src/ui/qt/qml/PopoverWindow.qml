// Qt 6.4 cannot bind components to the file that they are in.
// qmllint disable unqualified
import QtQuick
import Zolvex

/// The popover: one page at a time, as large as the page wants to be.
Window {
    id: window

    required property PopoverModel popover
    property bool isAnchored: false
    property int maximumContentHeight: 100000

    readonly property FocusScope page: loader.item as FocusScope
    readonly property int wantedWidth: Theme.popoverWidth
    readonly property int wantedHeight: page ? Math.min(Math.ceil(page.implicitHeight), maximumContentHeight)
                                             : wantedWidth

    title: popover.title
    color: Theme.surface

    FocusScope {
        anchors.fill: parent
        focus: true
        Keys.onEscapePressed: {
            if (window.popover.page === PopoverModel.Main) window.close()
            else window.popover.back()
        }

        Loader {
            id: loader

            anchors.fill: parent
            focus: true
            sourceComponent: window.popover.page === PopoverModel.Settings ? settingsPage
                           : window.popover.page === PopoverModel.About ? aboutPage : mainPage
        }
    }
    Rectangle {
        anchors.fill: parent
        visible: window.isAnchored
        color: "transparent"
        border.width: Theme.border
        border.color: Theme.outline
    }

    Component {
        id: mainPage

        MainPage {
            popover: window.popover
        }
    }
    Component {
        id: aboutPage

        AboutPage {
            popover: window.popover
        }
    }
    Component {
        id: settingsPage

        SettingsPage {
            popover: window.popover
            maximumHeight: window.maximumContentHeight
        }
    }
    Loader {
        id: acknowledgements

        active: false
        sourceComponent: AcknowledgementsWindow {
            about: window.popover.about
            onVisibleChanged: if (!visible) acknowledgements.active = false
        }
    }
    Connections {
        target: window.popover.about

        function onAcknowledgementsWanted() {
            acknowledgements.active = true
            const shown = acknowledgements.item as Window
            shown.show()
            shown.requestActivate()
        }
    }
}
