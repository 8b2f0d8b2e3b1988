pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Brivello

// The heading "Zonen" with the button that saves the ticked devices as a new zone, the hint while
// there is no zone, and one row per zone in the user's order.
ColumnLayout {
    id: section

    required property ZoneListModel zones
    readonly property alias newZoneDialog: newZoneDialog

    spacing: 4

    RowLayout {
        spacing: 0
        Layout.fillWidth: true
        Layout.leftMargin: 24
        Layout.rightMargin: 18
        Layout.topMargin: 10

        Text {
            text: "Zonen"
            color: Theme.secondaryText
            font.pixelSize: Theme.headingSize
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
        }
        Item {
            Layout.fillWidth: true
        }
        IconButton {
            objectName: "addZoneButton"
            symbol: "plus"
            tip: "Aktuelle Auswahl als Zone sichern"
            enabled: section.zones.canSaveSelection
            onClicked: newZoneDialog.openWith(section.zones.proposedName)
        }
    }

    Text {
        objectName: "zonesHint"
        visible: zonesRepeater.count === 0
        text: "Geräte wählen und mit + als Zone sichern."
        color: Theme.tertiaryText
        font.pixelSize: Theme.captionSize
        Layout.leftMargin: 24
        Layout.rightMargin: 24
        Layout.topMargin: 2
        Layout.bottomMargin: 2
    }

    Repeater {
        id: zonesRepeater
        model: section.zones
        delegate: ZoneRow {
            objectName: "zoneRow"
            zones: section.zones
            Layout.fillWidth: true
            Layout.leftMargin: 12
            Layout.rightMargin: 12
        }
    }

    ZoneNameDialog {
        id: newZoneDialog
        objectName: "newZoneDialog"
        title: "Neue Zone"
        message: "Sichert die aktuell gewählten Geräte als Zone."
        onSaved: name => section.zones.addZone(name)
    }
}
