import QtQuick
import Zolvex

/// Text that ends in an ellipsis where it is too long. Screen readers read it out, unless it is part of a control that
/// has it in its own name or description.
Text {
    property bool isHeard: true

    color: Theme.text
    font.pointSize: Theme.bodySize
    elide: Text.ElideRight
    // Else an empty one asks where typing would begin, which Qt 6.4 cannot answer on Wayland without a keyboard or mouse.
    horizontalAlignment: Text.AlignLeft
    textFormat: Text.PlainText
    verticalAlignment: Text.AlignVCenter
    Accessible.role: Accessible.StaticText
    Accessible.name: text
    Accessible.ignored: !isHeard
}
