pragma Singleton

import QtQuick
import Zolvex

/// Every size and colour of the windows. Sizes grow with the desktop's font; colours follow its scheme, accent and
/// contrast. Text and symbols reach a contrast of 4.5 to 1 on `surface`, `raised` and `control`.
QtObject {
    id: theme

    // Fonts, in points.
    readonly property real bodySize: Application.font.pointSize > 0 ? Application.font.pointSize
                                                                    : Application.font.pixelSize * 0.75
    readonly property real captionSize: bodySize * 0.9
    readonly property real headlineSize: bodySize * 1.15
    readonly property real titleSize: bodySize * 1.45
    readonly property FontMetrics metrics: FontMetrics {
        font.pointSize: theme.bodySize
    }

    // Sizes, in pixels.
    readonly property int line: Math.ceil(metrics.height)
    readonly property int popoverWidth: Math.max(320, line * 20)
    readonly property int margin: 14
    readonly property int spacing: 12
    readonly property int smallSpacing: 8
    readonly property int tinySpacing: 4
    readonly property int radius: 7
    readonly property int smallRadius: 5
    readonly property int border: 1
    readonly property int focusWidth: 2
    readonly property int dot: 8
    readonly property int symbol: Math.max(16, line)
    readonly property int headerSymbol: Math.max(22, Math.round(line * 1.4))
    readonly property int indicatorWidth: Math.max(24, headerSymbol)
    readonly property int deviceSymbolWidth: Math.max(20, symbol)
    readonly property int deviceInset: 2
    readonly property int stateTextX: indicatorWidth + spacing  // all texts of the main page begin there
    readonly property int buttonHeight: line + 14
    readonly property int smallButtonHeight: line + 8
    readonly property int rowHeight: Math.max(30, line + 12)
    readonly property int preferenceHeight: Math.max(30, line + 12)
    readonly property int listHeight: Math.round(rowHeight * 6.5)
    readonly property int leastListHeight: Math.round(rowHeight * 1.5)
    readonly property int switchHeight: Math.max(18, line)
    readonly property int applicationIcon: 64
    readonly property size licenceSize: Qt.size(Math.max(460, line * 28), Math.max(260, line * 16))

    readonly property int shortDuration: Appearance.isMotionReduced ? 0 : 120

    // Colours of things.
    readonly property bool dark: Appearance.isDark
    readonly property bool strong: Appearance.isHighContrast
    readonly property color surface: strong ? (dark ? "#000000" : "#ffffff") : (dark ? "#242428" : "#fbfbfc")
    readonly property color raised: strong ? surface : (dark ? "#2e2e34" : "#f2f2f5")
    readonly property color control: strong ? surface : (dark ? "#3a3a41" : "#ebebef")
    readonly property color controlHovered: strong ? (dark ? "#202020" : "#e8e8e8") : (dark ? "#404048" : "#e2e2e8")
    readonly property color controlPressed: strong ? (dark ? "#303030" : "#d8d8d8") : (dark ? "#46464e" : "#d7d7df")
    readonly property color outline: strong ? text : (dark ? "#4b4b54" : "#d3d3da")
    readonly property color knob: strong ? surface : "#ffffff"
    readonly property color switchOff: strong ? text : (dark ? "#74747f" : "#80808a")
    readonly property color shade: dark ? "#b0000000" : "#80000000"
    readonly property color focus: contrast(accent, surface) >= 3 ? accent : text

    readonly property color black: "#000000"
    readonly property color white: "#ffffff"
    readonly property real evenLuminance: 0.179  // black and white can be read equally well on it

    // Colours by role, as the presentation names them.
    readonly property color text: strong ? (dark ? "#ffffff" : "#000000") : (dark ? "#f3f3f5" : "#1c1c20")
    readonly property color secondary: strong ? text : (dark ? "#bcbdc5" : "#53545c")
    readonly property color tertiary: strong ? text : (dark ? "#b2b3bb" : "#5f6068")
    readonly property color accent: Appearance.hasAccent ? Appearance.accent : (dark ? "#6ea8ff" : "#1f5fd0")
    readonly property color green: strong ? (dark ? "#7dff9b" : "#00591a") : (dark ? "#54cf79" : "#156f2c")
    readonly property color gray: strong ? secondary : (dark ? "#b2b3bb" : "#63646c")
    readonly property color orange: strong ? (dark ? "#ffc27a" : "#7a3500") : (dark ? "#ffad4f" : "#a04500")
    readonly property color red: strong ? (dark ? "#ffb0a8" : "#8f0010") : (dark ? "#ffa19a" : "#b81624")
    readonly property color blue: strong ? (dark ? "#a9cdff" : "#003c9e") : (dark ? "#86b9ff" : "#1859bd")

    // Prominent buttons are filled with them; their text is black or white. Orange and red that can be read as text would
    // be brown and pink.
    readonly property color orangeFill: strong ? orange : (dark ? "#ffad4f" : "#e8821e")
    readonly property color redFill: strong ? red : (dark ? "#ff7067" : "#c21c2b")

    function fill(role: string): color {
        return role === "orange" ? orangeFill : role === "red" ? redFill : colour(role)
    }

    function colour(role: string): color {
        switch (role) {
        case "secondary": return secondary
        case "tertiary": return tertiary
        case "accent": return accent
        case "green": return green
        case "gray": return gray
        case "orange": return orange
        case "red": return red
        case "blue": return blue
        }
        return text
    }

    /// Black or white, whichever can be read better on `fill`.
    function readableOn(fill: color): color {
        return luminance(fill) > evenLuminance ? black : white
    }

    function contrast(one: color, other: color): real {
        const a = luminance(one)
        const b = luminance(other)
        return (Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05)
    }

    function luminance(paint: color): real {
        return 0.2126 * linear(paint.r) + 0.7152 * linear(paint.g) + 0.0722 * linear(paint.b)
    }

    function linear(part: real): real {
        return part <= 0.04045 ? part / 12.92 : Math.pow((part + 0.055) / 1.055, 2.4)
    }
}
