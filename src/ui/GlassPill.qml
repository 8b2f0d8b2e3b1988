import QtQuick
import Brivello

// A capsule behind its content, tinted: glass where the system draws it, else the tint dimmed to
// the bordered look's strength.
Rectangle {
    id: pill

    property color tint: Theme.green
    default property alias content: holder.data
    property real horizontalPadding: 10
    property real verticalPadding: 5

    implicitWidth: holder.childrenRect.width + 2 * horizontalPadding
    implicitHeight: holder.childrenRect.height + 2 * verticalPadding
    radius: height / 2
    color: Qt.rgba(tint.r, tint.g, tint.b, tint.a * GlassStyle.pillTintStrength)

    Item {
        id: holder
        x: pill.horizontalPadding
        y: pill.verticalPadding
        width: childrenRect.width
        height: childrenRect.height
    }
}
