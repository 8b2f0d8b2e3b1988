import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brivello

// One saved zone: its symbol, name, number of devices and hot key. A click (or Space or Return)
// switches the sound to it, or off when it is the active zone; a right click or the menu key opens
// its menu, from which it is renamed, given a hot key or deleted. Dimmed while none of its devices
// is connected, and marked when its hot key cannot work.
Rectangle {
    id: row

    required property ZoneListModel zones
    // The model's roles
    required property string zoneId
    required property string name
    required property int deviceCount
    required property string hotKeyText
    required property bool active
    required property bool available
    required property bool hotKeyTaken
    required property string hotKeySharedWith

    readonly property alias menu: menu
    readonly property alias renameDialog: renameDialog
    readonly property alias hotKeySheet: hotKeySheet

    implicitHeight: line.implicitHeight + 14
    radius: 8
    color: active ? Theme.activeZoneBackground : (pointer.containsMouse ? Theme.hoverBackground : "transparent")
    opacity: available ? 1 : Theme.unavailableOpacity
    activeFocusOnTab: true
    Accessible.role: Accessible.Button
    Accessible.name: name + (active ? ", aktiv" : "")
    Accessible.description: available ? "Zone aktivieren" : "Keine Geräte dieser Zone verbunden"
    Accessible.onPressAction: row.activate()
    Keys.onSpacePressed: row.activate()
    Keys.onReturnPressed: row.activate()
    Keys.onMenuPressed: menu.popup(row, 12, row.height)

    ToolTip.text: available ? "Zone aktivieren" : "Keine Geräte dieser Zone verbunden"
    ToolTip.visible: pointer.containsMouse && !warningPointer.containsMouse
    ToolTip.delay: 600

    // Under the content, so the warning mark's own hover area (which takes no clicks) is on top.
    MouseArea {
        id: pointer
        anchors.fill: parent
        hoverEnabled: true
        acceptedButtons: Qt.LeftButton | Qt.RightButton
        cursorShape: Qt.PointingHandCursor
        onClicked: mouse => {
            if (mouse.button === Qt.RightButton)
                menu.popup()
            else
                row.activate()
        }
    }
    RowLayout {
        id: line
        anchors.fill: parent
        anchors.leftMargin: 12
        anchors.rightMargin: 12
        anchors.topMargin: 7
        anchors.bottomMargin: 7
        spacing: 10

        SymbolIcon {
            objectName: "zoneIcon"
            name: row.active ? "play.circle.fill" : "square.stack.3d.up.fill"
            color: row.active ? Theme.accent : Theme.secondaryText
            size: 17
            Layout.preferredWidth: 22
        }
        // The name takes the room it needs, elided only when the row is too narrow; the count
        // follows it on its baseline.
        Item {
            implicitHeight: nameText.implicitHeight
            Layout.fillWidth: true
            Text {
                id: nameText
                width: Math.min(implicitWidth, parent.width - countText.implicitWidth - 8)
                anchors.verticalCenter: parent.verticalCenter
                text: row.name
                color: Theme.primaryText
                font.pixelSize: Theme.bodySize
                font.weight: Font.Medium
                elide: Text.ElideRight
            }
            Text {
                id: countText
                objectName: "deviceCount"
                x: nameText.width + 8
                anchors.baseline: nameText.baseline
                text: "· " + row.deviceCount
                color: Theme.secondaryText
                font.pixelSize: Theme.captionSize
            }
        }
        SymbolIcon {
            id: warningMark
            objectName: "takenMark"
            visible: row.hotKeyTaken && row.hotKeyText !== ""
            name: "exclamationmark.triangle.fill"
            color: Theme.warning
            size: 13
            ToolTip.text: "Kürzel ist bereits belegt"
            ToolTip.visible: warningPointer.containsMouse
            ToolTip.delay: 300
            MouseArea {
                id: warningPointer
                anchors.fill: parent
                anchors.margins: -4
                hoverEnabled: true
                acceptedButtons: Qt.NoButton
            }
        }
        HotKeyBadge {
            objectName: "hotKeyBadge"
            visible: row.hotKeyText !== ""
            text: row.hotKeyText
        }
    }

    Rectangle {
        visible: row.activeFocus
        anchors.fill: parent
        radius: 8
        color: "transparent"
        border.width: 2
        border.color: Theme.focusRing
    }

    ZoneContextMenu {
        id: menu
        canSaveSelection: row.zones.canSaveSelection
        onSaveSelection: row.zones.saveSelection(row.zoneId)
        onRename: renameDialog.openWith(row.name)
        onEditHotKey: hotKeySheet.open()
        onRemove: row.zones.remove(row.zoneId)
    }
    ZoneNameDialog {
        id: renameDialog
        title: "Zone umbenennen"
        onSaved: name => row.zones.rename(row.zoneId, name)
    }
    HotKeySheet {
        id: hotKeySheet
        zoneName: row.name
        hotKeyText: row.hotKeyText
        hotKeyTaken: row.hotKeyTaken
        hotKeySharedWith: row.hotKeySharedWith
        onTaken: (keyCode, modifiers, display) => row.zones.setHotKey(row.zoneId, keyCode, modifiers, display)
        onCleared: row.zones.clearHotKey(row.zoneId)
    }

    function activate() {
        zones.activate(zoneId)
    }
}
