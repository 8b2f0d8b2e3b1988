import QtQuick
import QtQuick.Layouts
import Brivello

// The bar under the list: the test tone on the left, the switch for the multi-output device on
// the right: "Aktivieren" with the number of ticked devices, or a red "Deaktivieren".
Rectangle {
    id: bar

    required property MultiOutputStatus status
    required property ToneGenerator tone

    implicitHeight: container.implicitHeight + 22
    color: Theme.barBackground

    GlassContainer {
        id: container
        spacing: 10
        anchors.fill: parent
        anchors.leftMargin: 20
        anchors.rightMargin: 20
        anchors.topMargin: 12
        anchors.bottomMargin: 10

        RowLayout {
            width: container.width
            spacing: 10

            // Plays on the default output, so while switched on on every ticked device.
            GlassButton {
                objectName: "toneButton"
                text: bar.tone.isPlaying ? "Stopp" : "Testton"
                symbol: bar.tone.isPlaying ? "stop.fill" : "play.fill"
                onClicked: bar.tone.isPlaying ? bar.tone.stop() : bar.tone.start()
            }
            Item {
                Layout.fillWidth: true
            }
            GlassButton {
                objectName: "deactivateButton"
                visible: bar.status.active
                text: "Deaktivieren"
                tint: Theme.red
                onClicked: bar.status.deactivate()
            }
            GlassProminentButton {
                objectName: "activateButton"
                visible: !bar.status.active
                text: bar.status.selectedCount === 0 ? "Aktivieren"
                                                     : "Aktivieren (%1)".arg(bar.status.selectedCount)
                enabled: bar.status.canActivate
                onClicked: bar.status.activate()
            }
        }
    }
}
