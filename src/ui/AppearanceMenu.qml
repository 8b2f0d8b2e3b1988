pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls
import Brivello

// The header's pull-down for how the window looks: follow the system, always light, always dark.
IconButton {
    id: menuButton

    required property AppearanceSetting appearance

    symbol: appearance.symbolName
    tip: "Erscheinungsbild"
    onClicked: menu.open()

    Menu {
        id: menu
        y: menuButton.height + 2
        title: "Erscheinungsbild"

        MenuItem {
            text: "Erscheinungsbild"
            enabled: false
            font.pixelSize: Theme.captionSize
        }
        Repeater {
            model: menuButton.appearance.choices
            delegate: MenuItem {
                required property var modelData
                text: modelData.title
                icon.source: "image://symbol/" + modelData.symbolName
                icon.color: Theme.primaryText
                checkable: true
                checked: menuButton.appearance.raw === modelData.raw
                onTriggered: menuButton.appearance.raw = modelData.raw
            }
        }
    }
}
