pragma ComponentBehavior: Bound

import QtQuick
import Brivello

// A row of thin bars that move with the clock, scaled by `level`, or that stand at a `measured`
// level; green, then yellow, then orange as they rise. At rest the bars stand low and nothing
// redraws.
Item {
    id: meter

    property real level: 0
    property bool active: false
    property bool measured: false
    property int barCount: 5
    property real maxHeight: 16

    implicitWidth: Math.max(barCount, 0) * 5
    implicitHeight: maxHeight
    Accessible.ignored: true

    LevelMeterBars {
        id: bars
        level: meter.level
        active: meter.active
        barCount: meter.barCount
        measured: meter.measured
    }

    Row {
        anchors.horizontalCenter: parent.horizontalCenter
        height: meter.maxHeight
        spacing: 2
        Repeater {
            model: bars.barCount
            delegate: Rectangle {
                required property int index
                readonly property real fraction: bars.fractions[index] ?? 0
                readonly property int tier: bars.tiers[index] ?? 0
                width: 3
                height: Math.max(meter.maxHeight * fraction, 2)
                y: meter.maxHeight - height
                radius: 1.5
                color: tier === 2 ? Theme.orange : tier === 1 ? Theme.yellow : Theme.green
            }
        }
    }
}
