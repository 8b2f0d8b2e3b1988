import QtQuick
import QtQuick.Controls
import Brivello

// Brivello's main window: the main view, in the chosen appearance, with room for a splash
// screen over it.
ApplicationWindow {
    id: window

    required property DeviceListModel devices
    required property MultiOutputStatus status
    required property AppearanceSetting appearance
    required property ZoneListModel zones
    required property ToneGenerator tone
    // Drawn over the main view while it is there.
    property alias splash: splashSlot.sourceComponent
    property alias mainView: mainView

    title: "Brivello"
    width: 520
    height: 680
    minimumWidth: 460
    minimumHeight: 560
    color: Theme.windowBackground

    // The standard controls (menus, sliders, scroll bars, tooltips) draw from the palette.
    palette.window: Theme.windowBackground
    palette.windowText: Theme.primaryText
    palette.base: Theme.controlBackground
    palette.alternateBase: Theme.windowBackground
    palette.text: Theme.primaryText
    palette.button: Theme.controlBackground
    palette.buttonText: Theme.primaryText
    palette.brightText: Theme.onAccentText
    palette.highlight: Theme.accent
    palette.highlightedText: Theme.onAccentText
    palette.toolTipBase: Theme.controlBackground
    palette.toolTipText: Theme.primaryText
    palette.placeholderText: Theme.secondaryText
    palette.light: Theme.dark ? "#505056" : "#ffffff"
    palette.midlight: Theme.dark ? "#444449" : "#e4e4e8"
    palette.mid: Theme.dark ? "#2e2e32" : "#c6c6cc"
    palette.dark: Theme.dark ? "#18181a" : "#9c9ca3"
    palette.shadow: Theme.dark ? "#000000" : "#6c6c72"

    // Meters that cannot be seen measure nothing.
    readonly property bool metersVisible: visible && visibility !== Window.Minimized
    onMetersVisibleChanged: devices.metersShown = metersVisible
    Component.onCompleted: devices.metersShown = metersVisible

    // Quits Brivello, which otherwise lives on in the tray when the window closes. "Ctrl" is ⌘
    // on macOS.
    Shortcut {
        sequence: "Ctrl+Q"
        context: Qt.ApplicationShortcut
        onActivated: Qt.quit()
    }

    Binding {
        target: Theme
        property: "dark"
        value: window.appearance.dark
    }

    MainView {
        id: mainView
        anchors.fill: parent
        devices: window.devices
        status: window.status
        appearance: window.appearance
        zones: window.zones
        tone: window.tone
    }

    Loader {
        id: splashSlot
        objectName: "splashSlot"
        anchors.fill: parent
        z: 1

        // The splash says once that it is done; it then fades away over the main view and goes.
        NumberAnimation on opacity {
            id: splashFade
            running: false
            to: 0
            duration: 450
            easing.type: Easing.OutQuad
            onFinished: splashSlot.active = false
        }

        Connections {
            target: splashSlot.item
            ignoreUnknownSignals: true

            function onFinish() {
                splashFade.start()
            }
        }
    }
}
