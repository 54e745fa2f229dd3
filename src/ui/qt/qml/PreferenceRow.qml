import QtQuick
import QtQuick.Layouts
import Zolvex

/// A preference that is on or off, with an explanation behind its title, and what else belongs to it before the switch.
RowLayout {
    id: row

    required property toggleValue toggle
    default property alias more: extras.data
    signal toggled(isOn: bool)

    Layout.fillWidth: true
    Layout.preferredHeight: Theme.preferenceHeight
    spacing: Theme.smallSpacing

    ThemedText {
        isHeard: false
        text: row.toggle.title
    }
    ThemedText {
        Layout.fillWidth: true
        isHeard: false
        text: row.toggle.hint
        color: Theme.secondary
        font.pointSize: Theme.captionSize
    }
    RowLayout {
        id: extras

        visible: children.length > 0
    }
    ToggleSwitch {
        objectName: row.toggle.title
        checked: row.toggle.isOn
        Accessible.name: row.toggle.title
        Accessible.description: row.toggle.tooltip.length > 0 ? row.toggle.tooltip : row.toggle.hint
        onToggled: row.toggled(checked)
    }
    HoverHandler {
        id: pointer
    }
    HoverTip {
        visible: pointer.hovered && text.length > 0
        text: row.toggle.tooltip
    }
}
