import QtQuick
import QtQuick.Controls

// The one most important button of a view, filled with the accent colour, in glass or in the
// bordered prominent fallback (see GlassStyle).
Button {
    id: button

    implicitHeight: 32
    leftPadding: 18
    rightPadding: 18
    font.pixelSize: 13
    font.weight: Font.Medium

    contentItem: Text {
        text: button.text
        font: button.font
        color: button.enabled ? Theme.onAccentText : Theme.secondaryText
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }

    background: Rectangle {
        radius: 7
        color: !button.enabled ? Theme.controlBackground
                               : (button.down ? Qt.darker(Theme.accent, 1.15) : Theme.accent)
        border.width: button.visualFocus ? 2 : (button.enabled ? 0 : 1)
        border.color: button.visualFocus ? Theme.focusRing : Theme.controlBorder
    }
}
