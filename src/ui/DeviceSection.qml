pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Brivello

// The heading "Geräte" and one row per output device, or the placeholder when there is none.
ColumnLayout {
    id: section

    required property DeviceListModel devices
    required property bool locked

    spacing: 2

    NoDevicesPlaceholder {
        objectName: "noDevices"
        visible: devicesRepeater.count === 0
        Layout.fillWidth: true
        Layout.topMargin: 60
    }

    Text {
        visible: devicesRepeater.count > 0
        text: "Geräte"
        color: Theme.secondaryText
        font.pixelSize: Theme.headingSize
        font.weight: Font.DemiBold
        Layout.leftMargin: 24
        Layout.rightMargin: 24
        Layout.topMargin: 14
        Accessible.role: Accessible.Heading
    }

    Repeater {
        id: devicesRepeater
        model: section.devices
        delegate: DeviceRow {
            objectName: "deviceRow"
            devices: section.devices
            locked: section.locked
            Layout.fillWidth: true
            Layout.leftMargin: 12
            Layout.rightMargin: 12
        }
    }

    Item {
        visible: devicesRepeater.count > 0
        Layout.preferredHeight: 6
    }
}
