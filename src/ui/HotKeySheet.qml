import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brivello

// The sheet in which a zone's global hot key is set or cleared. Every change is reported at once
// (and saved by the row), so a recorded hot key works before the sheet closes; "Fertig" only
// closes it. Below the recorder it says when the hot key cannot work or another zone has it too,
// and asks before it takes a combination macOS 15 refuses; closing the sheet unasked keeps the
// hot key the zone had.
Dialog {
    id: sheet

    property string zoneName
    property string hotKeyText
    property bool hotKeyTaken
    property string hotKeySharedWith
    readonly property alias recorder: recorder

    signal taken(int keyCode, int modifiers, string display)
    signal cleared()

    modal: true
    focus: true
    closePolicy: Popup.CloseOnEscape
    anchors.centerIn: Overlay.overlay
    width: 320
    padding: 20
    Overlay.modal: Rectangle {
        color: Theme.dimmer
    }
    background: Rectangle {
        radius: 10
        color: Theme.sheetBackground
        border.width: 1
        border.color: Theme.controlBorder
    }
    header: null
    footer: null
    // Closing stops listening: later key presses reach the window again.
    onClosed: recorder.stop()

    ColumnLayout {
        width: sheet.availableWidth
        spacing: 14
        focus: true
        // "Fertig" is the default button; while recording the recorder swallows Return first.
        Keys.onReturnPressed: sheet.close()
        Keys.onEnterPressed: sheet.close()

        Text {
            objectName: "sheetTitle"
            text: "Tastenkürzel für „" + sheet.zoneName + "“"
            color: Theme.primaryText
            font.pixelSize: 13
            font.weight: Font.Bold
            wrapMode: Text.Wrap
            Layout.fillWidth: true
            Accessible.role: Accessible.Heading
        }
        Text {
            text: "Aktiviert diese Zone systemweit – auch wenn Brivello im Hintergrund ist. Mindestens ⌘, ⌥ oder ⌃ verwenden."
            color: Theme.secondaryText
            font.pixelSize: Theme.captionSize
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
        ColumnLayout {
            spacing: 6
            Layout.fillWidth: true
            HotKeyRecorder {
                id: recorder
                objectName: "recorder"
                text: sheet.hotKeyText
                onTaken: (keyCode, modifiers, display) => sheet.taken(keyCode, modifiers, display)
                onCleared: sheet.cleared()
            }
            ColumnLayout {
                objectName: "optionOnlyQuestion"
                visible: recorder.questionedText !== ""
                spacing: 8
                Layout.fillWidth: true
                RowLayout {
                    spacing: 5
                    Layout.fillWidth: true
                    SymbolIcon {
                        name: "exclamationmark.triangle.fill"
                        color: Theme.warning
                        size: 12
                        Layout.alignment: Qt.AlignTop
                        Layout.topMargin: 1
                    }
                    Text {
                        objectName: "optionOnlyText"
                        text: "macOS 15 lehnt Kürzel nur mit ⌥ oder ⌥⇧ ab. Trotzdem verwenden?"
                        color: Theme.primaryText
                        font.pixelSize: Theme.captionSize
                        wrapMode: Text.Wrap
                        Layout.fillWidth: true
                    }
                }
                RowLayout {
                    spacing: 8
                    GlassButton {
                        objectName: "keepButton"
                        text: "Verwenden"
                        onClicked: recorder.keep()
                    }
                    GlassButton {
                        objectName: "recordAgainButton"
                        text: "Neu aufnehmen"
                        onClicked: recorder.recordAgain()
                    }
                }
            }
            RowLayout {
                objectName: "takenLine"
                visible: sheet.hotKeyTaken && sheet.hotKeyText !== "" && recorder.questionedText === ""
                spacing: 5
                SymbolIcon {
                    name: "exclamationmark.triangle.fill"
                    color: Theme.warning
                    size: 12
                }
                Text {
                    text: "Kürzel ist bereits belegt"
                    color: Theme.warning
                    font.pixelSize: Theme.captionSize
                }
            }
            Text {
                objectName: "sharedLine"
                visible: sheet.hotKeySharedWith !== "" && sheet.hotKeyText !== "" && recorder.questionedText === ""
                text: "Auch von Zone „" + sheet.hotKeySharedWith + "“ verwendet"
                color: Theme.secondaryText
                font.pixelSize: Theme.captionSize
                wrapMode: Text.Wrap
                Layout.fillWidth: true
            }
        }
        RowLayout {
            Layout.fillWidth: true
            Item {
                Layout.fillWidth: true
            }
            GlassProminentButton {
                objectName: "doneButton"
                text: "Fertig"
                onClicked: sheet.close()
            }
        }
    }
}
