import QtQuick

// Holds glass shapes that blend into each other within `spacing`. On the bordered look it adds
// nothing: its content is laid out as it is.
Item {
    id: container

    property real spacing: 10
    default property alias content: holder.data

    implicitWidth: holder.childrenRect.width
    implicitHeight: holder.childrenRect.height

    Item {
        id: holder
        anchors.fill: parent
    }
}
