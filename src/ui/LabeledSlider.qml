import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// One line under a ticked device: a symbol, a slider, maybe a second symbol, and the value as
// text in a box of fixed width so the slider does not jump while the number changes.
RowLayout {
    id: line

    property string leadingSymbol
    property string trailingSymbol
    property string valueText
    property color valueColor: Theme.secondaryText
    property alias slider: slider

    spacing: 8

    SymbolIcon {
        name: line.leadingSymbol
        size: 11
        Layout.preferredWidth: 14
    }
    Slider {
        id: slider
        Layout.fillWidth: true
        focusPolicy: Qt.StrongFocus

        background: Rectangle {
            x: slider.leftPadding
            y: slider.topPadding + (slider.availableHeight - height) / 2
            implicitWidth: 120
            implicitHeight: 4
            width: slider.availableWidth
            height: 4
            radius: 2
            color: Theme.track

            Rectangle {
                width: slider.visualPosition * parent.width
                height: parent.height
                radius: 2
                color: Theme.accent
            }
        }
        handle: Rectangle {
            x: slider.leftPadding + slider.visualPosition * (slider.availableWidth - width)
            y: slider.topPadding + (slider.availableHeight - height) / 2
            implicitWidth: 16
            implicitHeight: 16
            radius: 8
            color: slider.pressed ? Theme.controlPressed : Theme.knob
            border.width: slider.visualFocus ? 2 : 1
            border.color: slider.visualFocus ? Theme.focusRing : Theme.controlBorder
        }
    }
    // Takes its room even without a symbol, so the sliders of a row end at the same place.
    SymbolIcon {
        name: line.trailingSymbol
        size: 11
    }
    Text {
        objectName: "valueText"
        text: line.valueText
        color: line.valueColor
        font.pixelSize: Theme.captionSize
        horizontalAlignment: Text.AlignRight
        Layout.preferredWidth: 44
    }
}
