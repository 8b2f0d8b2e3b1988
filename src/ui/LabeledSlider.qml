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
    }
    SymbolIcon {
        visible: line.trailingSymbol !== ""
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
