import QtQuick
import QtQuick.Layouts
import Brivello

// The control that records a hot key: a button showing the combination ("Taste drücken…" while it
// listens, the one in question while the user is asked about it) and, when there is one, a small
// button that clears it. Clicking the main button starts listening, and stops it again without
// taking anything. It edits nothing itself: it reports what was taken or cleared.
RowLayout {
    id: recorder

    // The stored text of the current combination, "" for none.
    property string text
    readonly property alias recording: capture.recording
    // A recorded combination macOS 15 refuses, waiting for keep() or recordAgain(); "" for none.
    readonly property alias questionedText: capture.questionedText

    signal taken(int keyCode, int modifiers, string display)
    signal cleared()

    function stop() {
        capture.stop()
    }
    function keep() {
        capture.keep()
    }
    function recordAgain() {
        capture.start()
    }

    spacing: 8

    KeyPressRecorder {
        id: capture
        onTaken: (keyCode, modifiers, display) => recorder.taken(keyCode, modifiers, display)
    }

    GlassButton {
        id: mainButton
        objectName: "recordButton"
        text: capture.recording ? "Taste drücken…"
                                : capture.questionedText !== "" ? capture.questionedText
                                                                : recorder.text !== "" ? recorder.text : "Kein Kürzel"
        font.family: "monospace"
        font.pixelSize: 13
        font.weight: Font.Medium
        leftPadding: 12
        rightPadding: 12
        topPadding: 6
        bottomPadding: 6
        implicitWidth: Math.max(120, implicitContentWidth + leftPadding + rightPadding)
        contentItem: Text {
            text: mainButton.text
            font: mainButton.font
            color: capture.recording ? Theme.accent : capture.questionedText !== "" ? Theme.warning : Theme.primaryText
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
        }
        Accessible.name: "Tastenkürzel: " + text
        onClicked: capture.recording ? capture.stop() : capture.start()
    }
    IconButton {
        objectName: "clearButton"
        // While asked about a new combination it would clear the old one: answer first.
        visible: recorder.text !== "" && capture.questionedText === ""
        symbol: "xmark.circle.fill"
        tip: "Kürzel entfernen"
        // Clearing leaves a recording in progress running.
        focusPolicy: Qt.NoFocus
        onClicked: recorder.cleared()
    }
}
