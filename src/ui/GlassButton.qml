import QtQuick
import QtQuick.Controls

// A button in the platform's glass look, or its bordered fallback (see GlassStyle). `tint`
// colours the text and the fill, as for the red "Deaktivieren".
Button {
    id: button

    property color tint: "transparent"
    readonly property bool tinted: tint.a > 0
    readonly property color textColor: tinted ? tint : Theme.primaryText
    property string symbol: ""

    implicitHeight: 32
    leftPadding: 16
    rightPadding: 16
    font.pixelSize: 13

    contentItem: Row {
        spacing: 6
        SymbolIcon {
            visible: button.symbol !== ""
            name: button.symbol
            size: 13
            color: button.textColor
            opacity: button.enabled ? 1 : 0.4
            anchors.verticalCenter: parent.verticalCenter
        }
        Text {
            text: button.text
            font: button.font
            color: button.textColor
            opacity: button.enabled ? 1 : 0.4
            anchors.verticalCenter: parent.verticalCenter
        }
    }

    background: Rectangle {
        radius: 7
        color: button.tinted ? Qt.rgba(button.tint.r, button.tint.g, button.tint.b, button.down ? 0.28 : 0.16)
                             : (button.down ? Qt.darker(Theme.controlBackground, 1.12) : Theme.controlBackground)
        border.width: button.visualFocus ? 2 : 1
        border.color: button.visualFocus ? Theme.focusRing : Theme.controlBorder
    }
}
