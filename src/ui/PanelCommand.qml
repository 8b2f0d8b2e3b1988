import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brivello

// One command line of the tray panel: a symbol, then the title, over the panel's full width, the
// whole line clickable.
AbstractButton {
    id: command

    property string symbol

    Layout.fillWidth: true
    leftPadding: 12
    rightPadding: 12
    topPadding: 5
    bottomPadding: 5
    Accessible.name: text

    background: Rectangle {
        radius: 6
        color: command.down ? Theme.controlPressed : (command.hovered || command.visualFocus ? Theme.hoverBackground : "transparent")
    }
    contentItem: RowLayout {
        spacing: 8
        SymbolIcon {
            name: command.symbol
            color: Theme.primaryText
            size: 14
        }
        Text {
            Layout.fillWidth: true
            text: command.text
            color: Theme.primaryText
            font.pixelSize: Theme.bodySize
        }
    }
}
