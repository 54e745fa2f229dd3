import QtQuick
import Zolvex

/// A state as a colour, named by its role.
Rectangle {
    required property string role

    implicitWidth: Theme.dot
    implicitHeight: Theme.dot
    radius: width / 2
    color: Theme.colour(role)
}
