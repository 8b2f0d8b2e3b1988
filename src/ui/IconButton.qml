import QtQuick
import QtQuick.Controls

// A borderless button that shows only a symbol, with a tooltip that also names it for
// assistive technologies.
ToolButton {
    id: button

    property string symbol
    property string tip

    implicitWidth: 28
    implicitHeight: 28
    focusPolicy: Qt.StrongFocus
    Accessible.name: tip
    ToolTip.text: tip
    ToolTip.visible: hovered && tip !== ""
    ToolTip.delay: 600

    contentItem: Item {
        SymbolIcon {
            anchors.centerIn: parent
            name: button.symbol
            size: 16
            color: Theme.secondaryText
            opacity: button.enabled ? 1 : 0.35
        }
    }
    background: Rectangle {
        radius: 6
        color: button.down ? Theme.hoverBackground : "transparent"
        border.width: button.visualFocus ? 2 : 0
        border.color: Theme.focusRing
    }
}
