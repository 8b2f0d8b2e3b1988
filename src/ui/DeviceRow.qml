import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brivello

// One output device: the symbol of its transport, its name and transport, the selection mark, and
// once ticked its volume and delay. A click or Space anywhere on the main line ticks it, unless
// the selection is locked because the multi-output device plays.
Rectangle {
    id: row

    required property DeviceListModel devices
    required property bool locked
    // The model's roles
    required property var deviceId
    required property string name
    required property string transportLabel
    required property string transportIcon
    required property bool selected
    required property real volume
    required property real delayMs
    required property bool meterActive
    required property real meterLevel

    implicitHeight: column.implicitHeight + 18
    radius: 8
    color: selected ? Qt.rgba(Theme.accent.r, Theme.accent.g, Theme.accent.b, 0.1) : "transparent"
    opacity: selected || !locked ? 1 : 0.4

    ColumnLayout {
        id: column
        anchors.fill: parent
        anchors.leftMargin: 12
        anchors.rightMargin: 12
        anchors.topMargin: 9
        anchors.bottomMargin: 9
        spacing: 8

        Item {
            id: mainLine
            objectName: "mainLine"
            Layout.fillWidth: true
            implicitHeight: mainRow.implicitHeight
            activeFocusOnTab: true
            Accessible.role: Accessible.CheckBox
            Accessible.name: row.name + ", " + row.transportLabel
            Accessible.checkable: true
            Accessible.checked: row.selected
            Accessible.onToggleAction: row.toggle()
            Accessible.onPressAction: row.toggle()
            Keys.onSpacePressed: row.toggle()

            RowLayout {
                id: mainRow
                anchors.fill: parent
                spacing: 12
                SymbolIcon {
                    name: row.transportIcon
                    size: 17
                    Layout.preferredWidth: 22
                }
                ColumnLayout {
                    spacing: 1
                    Layout.fillWidth: true
                    Text {
                        text: row.name
                        color: Theme.primaryText
                        font.pixelSize: Theme.bodySize
                        elide: Text.ElideRight
                        Layout.fillWidth: true
                    }
                    Text {
                        text: row.transportLabel
                        color: Theme.secondaryText
                        font.pixelSize: Theme.captionSize
                    }
                }
                LevelMeter {
                    id: meter
                    objectName: "levelMeter"
                    visible: opacity > 0
                    opacity: row.meterActive ? 1 : 0
                    Behavior on opacity { NumberAnimation { duration: 200 } }
                    // Measured where the platform measures, else the clock scaled by the volume.
                    measured: row.devices.levelsMeasured
                    level: meter.measured ? row.meterLevel : row.volume
                    active: row.meterActive
                    Layout.rightMargin: 4
                }
                SymbolIcon {
                    objectName: "selectionMark"
                    name: row.selected ? "checkmark.circle.fill" : "circle"
                    color: row.selected ? Theme.accent : Theme.secondaryText
                    opacity: row.selected ? 1 : 0.4
                    size: 19
                }
            }
            MouseArea {
                anchors.fill: parent
                cursorShape: row.locked ? Qt.ArrowCursor : Qt.PointingHandCursor
                onClicked: row.toggle()
            }
            Rectangle {
                visible: mainLine.activeFocus
                anchors.fill: parent
                anchors.margins: -4
                radius: 6
                color: "transparent"
                border.width: 2
                border.color: Theme.focusRing
            }
        }

        ColumnLayout {
            objectName: "sliders"
            visible: row.selected
            spacing: 6
            Layout.fillWidth: true
            Layout.leftMargin: 34

            LabeledSlider {
                objectName: "volumeLine"
                Layout.fillWidth: true
                leadingSymbol: "speaker.fill"
                trailingSymbol: "speaker.wave.2.fill"
                valueText: "%1%".arg(Math.trunc(row.volume * 100))
                valueColor: row.volume > 1.25 ? Theme.red
                          : row.volume > 1 ? Theme.orange : Theme.secondaryText
                slider.from: 0
                slider.to: 1
                slider.value: row.volume
                slider.Accessible.name: "Lautstärke " + row.name
                slider.onMoved: row.devices.setVolume(row.deviceId, slider.value)
            }
            LabeledSlider {
                id: delayLine
                objectName: "delayLine"
                Layout.fillWidth: true
                leadingSymbol: "timer"
                valueText: "%1 ms".arg(Math.trunc(row.delayMs))
                slider.from: 0
                slider.to: 400
                slider.stepSize: 5
                slider.snapMode: Slider.SnapAlways
                slider.value: row.delayMs
                slider.Accessible.name: "Verzögerung " + row.name
                slider.onMoved: row.devices.setDelay(row.deviceId, delayLine.slider.value)
                // Letting go commits, of the mouse or of an arrow key (the slider counts as pressed
                // while one is held): while active that rebuilds the multi-output device once.
                slider.onPressedChanged: if (!delayLine.slider.pressed) row.devices.commitDelays()
            }
        }
    }

    function toggle() {
        if (!locked)
            devices.toggle(deviceId)
    }
}
