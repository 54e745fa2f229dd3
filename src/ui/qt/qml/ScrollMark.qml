import QtQuick
import QtQuick.Templates as T
import Zolvex

/// A thin scroll bar that is there only when there is something to scroll.
T.ScrollBar {
    id: bar

    implicitWidth: 8
    padding: 2
    policy: size < 1 ? T.ScrollBar.AlwaysOn : T.ScrollBar.AlwaysOff
    visible: size < 1
    focusPolicy: Qt.NoFocus

    contentItem: Rectangle {
        implicitWidth: 4
        radius: width / 2
        color: Theme.secondary
        opacity: bar.pressed || bar.hovered ? 1 : 0.6
    }
}
