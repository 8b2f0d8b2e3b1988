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
        // Opens under the button, its right edge at the button's, as a pull-down at a window's
        // edge does.
        x: menuButton.width - width
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
                id: choice
                required property var modelData
                text: modelData.title
                icon.source: "image://symbol/" + modelData.symbolName
                icon.color: Theme.primaryText
                checkable: true
                checked: menuButton.appearance.raw === modelData.raw
                // A picker marks its choice with a check mark, not a box.
                indicator: SymbolIcon {
                    x: 8
                    y: (choice.height - height) / 2
                    visible: choice.checked
                    name: "checkmark"
                    size: 13
                    color: Theme.primaryText
                }
                onTriggered: menuButton.appearance.raw = modelData.raw
            }
        }
    }
}
