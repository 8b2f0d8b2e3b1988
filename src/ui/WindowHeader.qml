import QtQuick
import QtQuick.Layouts
import Brivello

// The window's head: logo and title, the "Aktiv" pill while the multi-output device plays, the
// appearance menu and the reload button.
Item {
    id: header

    required property MultiOutputStatus status
    required property AppearanceSetting appearance

    implicitHeight: row.implicitHeight + 32

    RowLayout {
        id: row
        anchors.fill: parent
        anchors.leftMargin: 20
        anchors.rightMargin: 20
        anchors.topMargin: 16
        anchors.bottomMargin: 16
        spacing: 12

        Image {
            source: "image://symbol/AppLogo"
            sourceSize.width: 36
            sourceSize.height: 36
            Layout.preferredWidth: 36
            Layout.preferredHeight: 36
            smooth: true
            mipmap: true
        }
        ColumnLayout {
            spacing: 2
            Text {
                text: "Brivello"
                color: Theme.primaryText
                font.pixelSize: Theme.titleSize
                font.weight: Font.DemiBold
            }
            Text {
                text: "Mehrere Lautsprecher gleichzeitig"
                color: Theme.secondaryText
                font.pixelSize: Theme.subheadlineSize
            }
        }
        Item {
            Layout.fillWidth: true
        }
        GlassPill {
            objectName: "activePill"
            visible: header.status.active
            tint: Qt.rgba(Theme.green.r, Theme.green.g, Theme.green.b, 0.25)
            Accessible.role: Accessible.StaticText
            Accessible.name: "Aktiv"
            StatusDot {
                text: "Aktiv"
            }
        }
        AppearanceMenu {
            objectName: "appearanceButton"
            appearance: header.appearance
        }
        IconButton {
            objectName: "reloadButton"
            symbol: "arrow.clockwise"
            tip: "Geräte neu laden"
            enabled: !header.status.active
            onClicked: header.status.refresh()
        }
    }
}
