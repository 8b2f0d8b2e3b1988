import QtQuick
import Brivello

// A hot key's stored text in its small rounded box, as the zone rows show it.
Rectangle {
    id: badge

    property alias text: label.text

    implicitWidth: label.implicitWidth + 12
    implicitHeight: label.implicitHeight + 4
    radius: 5
    color: Theme.hotKeyBadge

    Text {
        id: label
        anchors.centerIn: parent
        color: Theme.secondaryText
        font.family: "monospace"
        font.pixelSize: Theme.captionSize
    }
}
