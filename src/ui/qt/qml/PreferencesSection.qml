import QtQuick
import QtQuick.Layouts
import Zolvex

/// What Zolvex does by itself, and how it talks to the other computer.
ColumnLayout {
    id: section

    required property PreferencesModel preferences

    spacing: 0

    PreferenceRow {
        toggle: section.preferences.launchAtLogin
        onToggled: isOn => section.preferences.setLaunchAtLogin(isOn)
    }
    PreferenceRow {
        toggle: section.preferences.autoRelease
        onToggled: isOn => section.preferences.setAutoRelease(isOn)

        Picker {
            objectName: "releaseTime"
            model: section.preferences.releaseTimes
            currentIndex: section.preferences.releaseTime
            Accessible.name: section.preferences.autoRelease.title
            onActivated: index => section.preferences.setReleaseTime(index)
        }
    }
    PreferenceRow {
        toggle: section.preferences.autoSwitch
        onToggled: isOn => section.preferences.setAutoSwitch(isOn)
    }
    PreferenceRow {
        toggle: section.preferences.globalHotkey
        onToggled: isOn => section.preferences.setGlobalHotkey(isOn)
    }
    RowLayout {
        Layout.fillWidth: true
        Layout.preferredHeight: Theme.preferenceHeight
        spacing: Theme.smallSpacing

        ThemedText {
            Layout.fillWidth: true
            isHeard: false
            text: section.preferences.connectionTitle
        }
        Picker {
            objectName: "connection"
            model: section.preferences.connections
            currentIndex: section.preferences.connection
            Accessible.name: section.preferences.connectionTitle
            onActivated: index => section.preferences.setConnection(index)
        }
    }
}
