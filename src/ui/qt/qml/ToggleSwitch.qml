import QtQuick
import QtQuick.Templates as T
import Zolvex

/// A switch at the end of a row; the row's title is its name.
T.Switch {
    id: control

    implicitWidth: Math.round(Theme.switchHeight * 1.75)
    implicitHeight: Theme.switchHeight
    Accessible.onPressAction: flip()
    Accessible.onToggleAction: flip()
    Keys.onReturnPressed: event => { if (!event.isAutoRepeat) flip() }
    Keys.onEnterPressed: event => { if (!event.isAutoRepeat) flip() }

    function flip(): void {
        toggle()
        toggled()
    }

    indicator: Rectangle {
        width: control.width
        height: control.height
        radius: height / 2
        color: control.checked ? Theme.accent : Theme.switchOff

        Rectangle {
            x: control.checked ? parent.width - width - 2 : 2
            y: 2
            width: parent.height - 4
            height: width
            radius: width / 2
            color: control.checked ? Theme.readableOn(Theme.accent) : Theme.knob

            Behavior on x {
                NumberAnimation {
                    duration: Theme.shortDuration
                }
            }
        }
        FocusRing {
            radius: height / 2
            visible: control.visualFocus
        }
    }
}
