import QtQuick

// A small filled dot before a short text, as in the header's "Aktiv" pill.
Row {
    id: dotLabel

    property string text
    property color color: Theme.green

    spacing: 5

    Rectangle {
        width: 7
        height: 7
        radius: 3.5
        color: dotLabel.color
        anchors.verticalCenter: parent.verticalCenter
    }
    Text {
        text: dotLabel.text
        color: dotLabel.color
        font.pixelSize: Theme.captionSize
        font.weight: Font.Medium
        anchors.verticalCenter: parent.verticalCenter
    }
}
