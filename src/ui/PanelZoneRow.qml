import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brivello

// A saved zone in the tray panel: the check mark while it plays, its name and its hot key. A click
// switches the sound to it; greyed out and inert while none of its devices is connected.
AbstractButton {
    id: row
    objectName: "panelZoneRow"

    required property ZoneListModel zones
    // The model's roles
    required property string zoneId
    required property string name
    required property string hotKeyText
    required property bool active
    required property bool available

    Layout.fillWidth: true
    leftPadding: 12
    rightPadding: 12
    topPadding: 5
    bottomPadding: 5
    enabled: available
    opacity: available ? 1 : Theme.unavailableOpacity
    Accessible.name: name + (active ? ", aktiv" : "")
    onClicked: zones.activate(zoneId)

    background: Rectangle {
        radius: 6
        color: row.down ? Theme.controlPressed : (row.hovered || row.visualFocus ? Theme.hoverBackground : "transparent")
    }
    contentItem: RowLayout {
        spacing: 8
        SymbolIcon {
            name: row.active ? "checkmark.circle.fill" : "square.stack.3d.up.fill"
            color: row.active ? Theme.accent : Theme.secondaryText
            size: 16
        }
        Text {
            Layout.fillWidth: true
            text: row.name
            color: Theme.primaryText
            font.pixelSize: Theme.bodySize
            elide: Text.ElideRight
        }
        Text {
            visible: row.hotKeyText !== ""
            text: row.hotKeyText
            color: Theme.secondaryText
            font.pixelSize: Theme.captionSize
            font.family: "monospace"
        }
    }
}
