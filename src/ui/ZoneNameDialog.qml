import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brivello

// The small prompt for a zone's name, for a new zone and for renaming one: a title, an optional
// message, the name field, "Abbrechen" and "Sichern". Return saves, Escape cancels; trimming and
// refusing an empty name are the model's business.
Dialog {
    id: dialog

    property string message
    readonly property alias name: field.text

    signal saved(string name)

    // Opens with `proposal` in the field, selected so typing replaces it.
    function openWith(proposal) {
        field.text = proposal
        open()
        field.selectAll()
        field.forceActiveFocus()
    }

    modal: true
    focus: true
    closePolicy: Popup.CloseOnEscape
    anchors.centerIn: Overlay.overlay
    width: 300
    padding: 20
    topPadding: 18
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

    ColumnLayout {
        width: dialog.availableWidth
        spacing: 10

        Text {
            text: dialog.title
            color: Theme.primaryText
            font.pixelSize: 13
            font.weight: Font.Bold
            Layout.fillWidth: true
            wrapMode: Text.Wrap
            Accessible.role: Accessible.Heading
        }
        Text {
            visible: dialog.message !== ""
            text: dialog.message
            color: Theme.secondaryText
            font.pixelSize: Theme.captionSize
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
        TextField {
            id: field
            objectName: "nameField"
            placeholderText: "Name"
            font.pixelSize: 13
            selectByMouse: true
            Accessible.name: "Name"
            Layout.fillWidth: true
            Layout.topMargin: 2
            onAccepted: dialog.save()
        }
        RowLayout {
            spacing: 8
            Layout.topMargin: 6
            Item {
                Layout.fillWidth: true
            }
            GlassButton {
                objectName: "cancelButton"
                text: "Abbrechen"
                onClicked: dialog.close()
            }
            GlassProminentButton {
                objectName: "saveButton"
                text: "Sichern"
                onClicked: dialog.save()
            }
        }
    }

    function save() {
        saved(field.text)
        close()
    }
}
