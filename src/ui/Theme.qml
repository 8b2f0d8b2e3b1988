pragma Singleton
import QtQuick

// Colours and type sizes of the interface, light and dark. The window decides `dark`; everything
// drawn reads from here, so both schemes are defined in one place.
QtObject {
    property bool dark: false

    // Window and surfaces
    readonly property color windowBackground: dark ? "#1f1f22" : "#f2f2f4"
    readonly property color barBackground: dark ? Qt.rgba(1, 1, 1, 0.04) : Qt.rgba(1, 1, 1, 0.55)
    readonly property color separator: dark ? Qt.rgba(1, 1, 1, 0.10) : Qt.rgba(0, 0, 0, 0.10)
    readonly property color controlBackground: dark ? "#3a3a3e" : "#ffffff"
    readonly property color controlBorder: dark ? Qt.rgba(1, 1, 1, 0.12) : Qt.rgba(0, 0, 0, 0.16)
    readonly property color controlPressed: dark ? "#4a4a50" : "#e8e8ec"
    readonly property color knob: dark ? "#d8d8dc" : "#ffffff"
    readonly property color track: dark ? Qt.rgba(1, 1, 1, 0.16) : Qt.rgba(0, 0, 0, 0.12)
    readonly property color hoverBackground: dark ? Qt.rgba(1, 1, 1, 0.05) : Qt.rgba(0, 0, 0, 0.035)
    readonly property color focusRing: Qt.rgba(accent.r, accent.g, accent.b, 0.6)

    // Text
    readonly property color primaryText: dark ? "#f2f2f4" : "#1c1c1e"
    readonly property color secondaryText: dark ? "#a1a1a8" : "#6c6c72"
    readonly property color tertiaryText: dark ? "#86868d" : "#8a8a90"
    readonly property color onAccentText: "#ffffff"

    // The system's colours
    readonly property color accent: dark ? "#0a84ff" : "#007aff"
    readonly property color green: dark ? "#30d158" : "#28a745"
    readonly property color red: dark ? "#ff453a" : "#e0352b"
    readonly property color yellow: dark ? "#ffd60a" : "#e6b800"
    readonly property color orange: dark ? "#ff9f0a" : "#ff9500"

    // Zones: the active zone's tint, the box of a hot key, a zone none of whose devices is there,
    // and the sheets and prompts that float over the window.
    readonly property color activeZoneBackground: Qt.rgba(accent.r, accent.g, accent.b, 0.12)
    readonly property color hotKeyBadge: Qt.rgba(secondaryText.r, secondaryText.g, secondaryText.b, 0.15)
    readonly property real unavailableOpacity: 0.45
    readonly property color warning: dark ? "#ffb340" : "#c46a00"
    readonly property color sheetBackground: dark ? "#2a2a2e" : "#fbfbfc"
    readonly property color dimmer: Qt.rgba(0, 0, 0, dark ? 0.45 : 0.22)

    // Type sizes in pixels: title, body, subheadline, caption, caption2
    readonly property int titleSize: 22
    readonly property int bodySize: 14
    readonly property int subheadlineSize: 12
    readonly property int captionSize: 11
    readonly property int caption2Size: 10
    readonly property int headingSize: 12
}
