import QtQuick
import QtQuick.Controls
import Brivello

// A zone row's menu: put the selection into the zone, rename it, set its hot key, delete it.
Menu {
    id: menu

    property bool canSaveSelection

    // As wide as its longest item: the menu's own width would cut "Auswahl in diese Zone
    // speichern" short.
    width: {
        let widest = 0
        for (let i = 0; i < count; ++i)
            widest = Math.max(widest, itemAt(i).implicitWidth)
        return widest + leftPadding + rightPadding
    }

    signal saveSelection()
    signal rename()
    signal editHotKey()
    signal remove()

    MenuItem {
        objectName: "saveSelectionItem"
        text: "Auswahl in diese Zone speichern"
        enabled: menu.canSaveSelection
        onTriggered: menu.saveSelection()
    }
    MenuItem {
        objectName: "renameItem"
        text: "Umbenennen…"
        onTriggered: menu.rename()
    }
    MenuItem {
        objectName: "hotKeyItem"
        text: "Tastenkürzel…"
        onTriggered: menu.editHotKey()
    }
    MenuSeparator {}
    MenuItem {
        objectName: "removeItem"
        text: "Löschen"
        // Destructive: drawn in red, and it acts at once without asking.
        palette.text: Theme.red
        onTriggered: menu.remove()
    }
}
