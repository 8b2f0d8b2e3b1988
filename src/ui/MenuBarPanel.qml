pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Brivello

// The small panel under the tray icon: switches zones on and the sound off without the main
// window, brings the window back and quits. It goes away when it loses the focus or on Escape.
Window {
    id: panel

    required property MultiOutputStatus status
    required property ZoneListModel zones
    readonly property alias content: content

    signal openWindowRequested
    signal quitRequested

    title: "Brivello-Menü"
    flags: Qt.Tool | Qt.FramelessWindowHint | Qt.WindowStaysOnTopHint
    width: 260
    height: content.implicitHeight
    color: Theme.sheetBackground

    onActiveChanged: {
        if (!active)
            hide()
    }

    Rectangle {
        anchors.fill: parent
        color: "transparent"
        border.color: Theme.controlBorder
        z: 1
    }

    ColumnLayout {
        id: content
        objectName: "panelContent"
        width: parent.width
        spacing: 0
        focus: true
        Keys.onEscapePressed: panel.hide()

        RowLayout {
            Layout.leftMargin: 12
            Layout.rightMargin: 12
            Layout.topMargin: 10
            Layout.bottomMargin: 8
            spacing: 8

            Image {
                source: "image://symbol/AppLogo"
                sourceSize.width: 22
                sourceSize.height: 22
                Layout.preferredWidth: 22
                Layout.preferredHeight: 22
                smooth: true
            }
            Text {
                text: "Brivello"
                color: Theme.primaryText
                font.pixelSize: Theme.bodySize
                font.weight: Font.DemiBold
            }
            Item {
                Layout.fillWidth: true
            }
            Rectangle {
                objectName: "activeDot"
                visible: panel.status.active
                width: 7
                height: 7
                radius: 3.5
                color: Theme.green
                Accessible.role: Accessible.StaticText
                Accessible.name: "Aktiv"
            }
        }
        Divider {}
        Text {
            objectName: "noZones"
            visible: zoneRows.count === 0
            Layout.fillWidth: true
            Layout.margins: 12
            text: "Noch keine Zonen. Lege sie im Fenster an."
            color: Theme.secondaryText
            font.pixelSize: Theme.captionSize
            wrapMode: Text.WordWrap
        }
        ColumnLayout {
            visible: zoneRows.count > 0
            Layout.fillWidth: true
            Layout.topMargin: 4
            Layout.bottomMargin: 4
            spacing: 2
            Repeater {
                id: zoneRows
                model: panel.zones
                delegate: PanelZoneRow {
                    zones: panel.zones
                }
            }
        }
        Divider {}
        ColumnLayout {
            Layout.fillWidth: true
            Layout.topMargin: 4
            Layout.bottomMargin: 4
            spacing: 2
            PanelCommand {
                objectName: "deactivateCommand"
                visible: panel.status.active
                text: "Deaktivieren"
                symbol: "stop.circle"
                onClicked: panel.status.deactivate()
            }
            PanelCommand {
                objectName: "openWindowCommand"
                text: "Fenster öffnen"
                symbol: "macwindow"
                onClicked: {
                    panel.hide()
                    panel.openWindowRequested()
                }
            }
            PanelCommand {
                objectName: "quitCommand"
                text: "Brivello beenden"
                symbol: "power"
                onClicked: panel.quitRequested()
            }
        }
    }
}
