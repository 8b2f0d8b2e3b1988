import QtQuick
import QtQuick.Layouts

// Shown instead of the device list when there is no output device at all. The header's reload
// button is the way out, so there is no button here.
ColumnLayout {
    spacing: 6

    SymbolIcon {
        name: "speaker.slash"
        size: 40
        Layout.alignment: Qt.AlignHCenter
        Layout.bottomMargin: 6
    }
    Text {
        text: "Keine Ausgabegeräte"
        color: Theme.primaryText
        font.pixelSize: 17
        font.weight: Font.DemiBold
        Layout.alignment: Qt.AlignHCenter
    }
    Text {
        text: "Verbinde Lautsprecher und lade neu."
        color: Theme.secondaryText
        font.pixelSize: Theme.bodySize - 1
        Layout.alignment: Qt.AlignHCenter
    }
}
