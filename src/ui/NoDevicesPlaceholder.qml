import QtQuick

// Shown instead of the device list when there is no output device at all. The header's reload
// button is the way out, so there is no button here.
Item {
    implicitWidth: column.implicitWidth
    implicitHeight: column.implicitHeight

    Column {
        id: column
        anchors.horizontalCenter: parent.horizontalCenter
        spacing: 6

        SymbolIcon {
            name: "speaker.slash"
            size: 40
            anchors.horizontalCenter: parent.horizontalCenter
        }
        Item {
            width: 1
            height: 4
        }
        Text {
            text: "Keine Ausgabegeräte"
            color: Theme.primaryText
            font.pixelSize: 17
            font.weight: Font.DemiBold
            anchors.horizontalCenter: parent.horizontalCenter
        }
        Text {
            text: "Verbinde Lautsprecher und lade neu."
            color: Theme.secondaryText
            font.pixelSize: Theme.bodySize - 1
            anchors.horizontalCenter: parent.horizontalCenter
        }
    }
}
