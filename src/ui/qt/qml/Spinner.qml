// Qt 6.4 cannot bind components to the file that they are in.
// qmllint disable unqualified
import QtQuick
import Zolvex

/// Something is going on. Stands still where the user wants little motion.
Item {
    id: spinner

    property int phase: 0
    readonly property int dots: 8
    readonly property real dotSize: Math.round(width / 6)

    implicitWidth: Theme.headerSymbol
    implicitHeight: Theme.headerSymbol
    Accessible.role: Accessible.Indicator
    Accessible.name: "Busy"

    Timer {
        interval: 100
        repeat: true
        running: spinner.visible && !Appearance.isMotionReduced
        onTriggered: spinner.phase = (spinner.phase + 1) % spinner.dots
    }

    Repeater {
        model: spinner.dots

        Rectangle {
            required property int index
            readonly property real angle: 2 * Math.PI * index / spinner.dots

            x: (spinner.width - width) / 2 + Math.sin(angle) * (spinner.width - width) / 2
            y: (spinner.height - height) / 2 - Math.cos(angle) * (spinner.height - height) / 2
            width: spinner.dotSize
            height: spinner.dotSize
            radius: width / 2
            color: Theme.colour("secondary")
            opacity: 1 - 0.8 * ((spinner.phase - index + spinner.dots) % spinner.dots) / (spinner.dots - 1)
        }
    }
}
