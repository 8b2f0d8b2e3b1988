import QtQuick

// A symbol of the interface's symbol set, drawn in one colour at the given size. Which drawing a
// name gets is decided by the "symbol" image provider.
Image {
    id: icon

    property string name
    property color color: Theme.secondaryText
    property real size: 16

    width: size
    height: size
    sourceSize.width: size
    sourceSize.height: size
    fillMode: Image.PreserveAspectFit
    smooth: true
    source: name === "" ? "" : "image://symbol/" + name + "?color=" + encodeURIComponent(color.toString())
    Accessible.ignored: true
}
