import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brivello

// The main window's content: header, the scrolling middle with the zones section above the
// devices, and the bottom bar.
ColumnLayout {
    id: view

    required property DeviceListModel devices
    required property MultiOutputStatus status
    required property AppearanceSetting appearance
    required property ZoneListModel zones
    required property ToneGenerator tone

    spacing: 0

    WindowHeader {
        status: view.status
        appearance: view.appearance
        Layout.fillWidth: true
    }
    Divider {}
    ScrollView {
        id: scroller
        Layout.fillWidth: true
        Layout.fillHeight: true
        contentWidth: availableWidth
        ScrollBar.horizontal.policy: ScrollBar.AlwaysOff

        ColumnLayout {
            width: scroller.availableWidth
            spacing: 0
            ZonesSection {
                objectName: "zonesSection"
                zones: view.zones
                Layout.fillWidth: true
            }
            DeviceSection {
                devices: view.devices
                locked: view.status.active
                Layout.fillWidth: true
                Layout.bottomMargin: 8
            }
        }
    }
    Divider {}
    BottomBar {
        id: bottomBar
        status: view.status
        tone: view.tone
        Layout.fillWidth: true
    }
}
