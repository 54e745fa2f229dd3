import QtQuick
import Zolvex

/// Text that ends in an ellipsis where it is too long.
Text {
    color: Theme.text
    font.pointSize: Theme.bodySize
    elide: Text.ElideRight
    textFormat: Text.PlainText
    verticalAlignment: Text.AlignVCenter
}
