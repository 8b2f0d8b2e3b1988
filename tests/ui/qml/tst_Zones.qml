import QtQuick
import QtQuick.Controls
import QtTest
import Brivello

// The zones section as a user meets it: saving the ticked devices as a zone, playing, renaming
// and deleting zones from their rows, and recording a hot key in the sheet.
TestCase {
    id: test
    name: "Zones"
    when: windowShown
    width: 520
    height: 680

    Component {
        id: windowComponent
        MainWindow {
            visible: true
        }
    }

    property MainWindow window

    function init() {
        fixture.reset(4)
        window = createTemporaryObject(windowComponent, null, {
            devices: fixture.devices, status: fixture.status, appearance: fixture.appearance,
            zones: fixture.zones, tone: fixture.tone
        })
        verify(window)
        waitForRendering(window.contentItem)
    }

    function named(name, root) {
        const found = findChild(root || window.contentItem, name)
        verify(found, name)
        return found
    }

    // Rows by their place on screen; Repeater rows are visual children only.
    function itemsNamed(name) {
        const list = []
        const stack = [window.contentItem]
        while (stack.length > 0) {
            const item = stack.pop()
            if (item.objectName === name)
                list.push(item)
            for (let i = item.children.length - 1; i >= 0; --i)
                stack.push(item.children[i])
        }
        list.sort((a, b) => a.mapToItem(null, 0, 0).y - b.mapToItem(null, 0, 0).y)
        return list
    }
    // Rows placed where the user sees them: the layout positions new rows before the next frame.
    function zoneRows() {
        waitForRendering(window.contentItem)
        return itemsNamed("zoneRow")
    }
    function tickDevice(index) { mouseClick(named("mainLine", itemsNamed("deviceRow")[index])) }

    function openMenu(row) {
        mouseClick(row, 40, row.height / 2, Qt.RightButton)
        tryCompare(row.menu, "opened", true)
        return row.menu
    }
    function choose(menu, objectName) {
        for (let i = 0; i < menu.count; ++i) {
            const item = menu.itemAt(i)
            if (item && item.objectName === objectName) {
                mouseClick(item)
                return item
            }
        }
        fail("no menu item " + objectName)
    }
    function openSheet(row) {
        choose(openMenu(row), "hotKeyItem")
        tryCompare(row.hotKeySheet, "opened", true)
        return row.hotKeySheet
    }

    function test_savingTheTickedDevicesAsANewZone() {
        const add = named("addZoneButton")
        verify(named("zonesHint").visible)
        compare(named("zonesHint").text, "Geräte wählen und mit + als Zone sichern.")
        verify(!add.enabled, "nothing ticked")
        compare(add.ToolTip.text, "Aktuelle Auswahl als Zone sichern")

        tickDevice(0)
        tickDevice(1)
        verify(add.enabled)
        mouseClick(add)
        const dialog = named("zonesSection").newZoneDialog
        tryCompare(dialog, "opened", true)
        compare(dialog.title, "Neue Zone")
        compare(dialog.message, "Sichert die aktuell gewählten Geräte als Zone.")
        const field = named("nameField", dialog.contentItem)
        compare(field.text, "Zone 1")
        compare(field.selectedText, "Zone 1", "typing replaces the proposal")
        compare(field.placeholderText, "Name")

        // Typed over the proposal, with spaces around it; Return saves.
        keyClick(Qt.Key_Space)
        field.insert(field.length, "Wohnzimmer  ")
        keyClick(Qt.Key_Return)
        tryCompare(dialog, "visible", false)
        compare(zoneRows().length, 1)
        verify(!named("zonesHint").visible)
        compare(zoneRows()[0].name, "Wohnzimmer")
        compare(named("deviceCount", zoneRows()[0]).text, "· 2")
        compare(fixture.storedZones()[0].name, "Wohnzimmer")
        compare(fixture.storedZones()[0].deviceUIDs.length, 2)

        // Escape cancels, and a name of spaces saves nothing.
        mouseClick(add)
        tryCompare(dialog, "opened", true)
        compare(field.text, "Zone 2")
        keyClick(Qt.Key_Escape)
        tryCompare(dialog, "visible", false)
        mouseClick(add)
        tryCompare(dialog, "opened", true)
        field.text = "   "
        mouseClick(named("saveButton", dialog.contentItem))
        tryCompare(dialog, "visible", false)
        compare(zoneRows().length, 1)
        compare(fixture.storedZones().length, 1)
    }

    function test_aRowPlaysItsZoneAndItsMenuRenamesRefillsAndDeletesIt() {
        fixture.saveZone("Küche", [fixture.uidAt(0)])
        fixture.saveZone("Garten", ["airplay-garden", "bt-garden"])
        let rows = zoneRows()
        compare(rows.length, 2)

        // Click plays, a second click switches off; a zone with none of its devices is dimmed.
        mouseClick(rows[0])
        compare(named("zoneIcon", rows[0]).name, "play.circle.fill")
        verify(rows[0].active)
        compare(named("zoneIcon", rows[1]).name, "square.stack.3d.up.fill")
        compare(fixture.defaultOutputName(), "Brivello Multi-Output")
        mouseClick(rows[0])
        verify(!rows[0].active)
        compare(rows[0].opacity, 1)
        compare(rows[0].ToolTip.text, "Zone aktivieren")
        compare(rows[1].opacity, 0.45)
        compare(rows[1].ToolTip.text, "Keine Geräte dieser Zone verbunden")

        // The menu, by right click or by the menu key; saving needs ticked devices (the played
        // zone left its device ticked).
        tickDevice(0)
        compare(fixture.status.selectedCount, 0)
        let menu = openMenu(rows[1])
        compare(menu.itemAt(0).text, "Auswahl in diese Zone speichern")
        verify(!menu.itemAt(0).enabled)
        compare(menu.itemAt(1).text, "Umbenennen…")
        compare(menu.itemAt(2).text, "Tastenkürzel…")
        compare(menu.itemAt(4).text, "Löschen")
        menu.close()
        tryCompare(menu, "visible", false)
        tickDevice(2)
        tickDevice(3)
        rows[1].forceActiveFocus()
        keyClick(Qt.Key_Menu)
        tryCompare(rows[1].menu, "opened", true)
        verify(rows[1].menu.itemAt(0).enabled)
        choose(rows[1].menu, "saveSelectionItem")
        compare(named("deviceCount", rows[1]).text, "· 2")
        compare(rows[1].opacity, 1)

        // Renaming: the old name is offered; Escape keeps it, Return saves the trimmed one.
        choose(openMenu(rows[1]), "renameItem")
        const rename = rows[1].renameDialog
        tryCompare(rename, "opened", true)
        compare(rename.title, "Zone umbenennen")
        compare(rename.message, "")
        compare(named("nameField", rename.contentItem).text, "Garten")
        named("nameField", rename.contentItem).text = "\t Terrasse "
        keyClick(Qt.Key_Escape)
        tryCompare(rename, "visible", false)
        compare(rows[1].name, "Garten")
        choose(openMenu(rows[1]), "renameItem")
        tryCompare(rename, "opened", true)
        named("nameField", rename.contentItem).text = "\t Terrasse "
        keyClick(Qt.Key_Return)
        tryCompare(rename, "visible", false)
        compare(rows[1].name, "Terrasse")
        compare(fixture.storedZones()[1].name, "Terrasse")

        // Deleting acts at once.
        choose(openMenu(rows[0]), "removeItem")
        tryVerify(() => itemsNamed("zoneRow").length === 1)
        compare(zoneRows()[0].name, "Terrasse")
    }

    function test_recordingAHotKeySwallowsKeysUntilOneWithCtrlAltOrSuperComes() {
        fixture.saveZone("Büro", [fixture.uidAt(1)])
        const row = zoneRows()[0]
        const sheet = openSheet(row)
        compare(sheet.width, 320)
        compare(named("sheetTitle", sheet.contentItem).text, "Tastenkürzel für „Büro“")
        const record = named("recordButton", sheet.contentItem)
        compare(record.text, "Kein Kürzel")
        verify(!named("clearButton", sheet.contentItem).visible)

        // Ignored, swallowed, still recording: plain keys, Shift alone, Escape.
        mouseClick(record)
        compare(record.text, "Taste drücken…")
        keyClick(Qt.Key_A)
        keyClick(Qt.Key_A, Qt.ShiftModifier)
        keyClick(Qt.Key_Escape)
        verify(sheet.recorder.recording)
        verify(sheet.opened, "Escape does not close the sheet while recording")
        compare(fixture.storedZones()[0].hotKey, undefined)

        // Taken, saved at once, and live before the sheet closes.
        keyClick(Qt.Key_Space, Qt.ControlModifier | Qt.AltModifier)
        verify(!sheet.recorder.recording)
        compare(record.text, "⌃⌥Space")
        compare(fixture.storedZones()[0].hotKey.keyCode, 49)
        compare(fixture.storedZones()[0].hotKey.modifiers, 0x1800)
        compare(named("hotKeyBadge", row).text, "⌃⌥Space")
        verify(fixture.pressHotKey(49, 0x1800))
        verify(row.active)

        // Clearing while recording keeps recording; the next combination is taken.
        mouseClick(record)
        mouseClick(named("clearButton", sheet.contentItem))
        verify(sheet.recorder.recording)
        compare(fixture.storedZones()[0].hotKey, undefined)
        verify(!named("hotKeyBadge", row).visible)
        keyClick(Qt.Key_Escape, Qt.MetaModifier)
        compare(fixture.storedZones()[0].hotKey.modifiers, 0x0100)
        compare(record.text, "⌘⎋")

        // Not recording, Return is "Fertig".
        keyClick(Qt.Key_Return)
        tryCompare(sheet, "visible", false)
    }

    function test_aCombinationMacOS15RefusesIsAskedAboutBeforeItIsTaken() {
        fixture.saveZone("Büro", [fixture.uidAt(1)], 49, 0x1800, "⌃⌥Space")
        const row = zoneRows()[0]
        let sheet = openSheet(row)
        const record = named("recordButton", sheet.contentItem)
        const question = named("optionOnlyQuestion", sheet.contentItem)
        verify(!question.visible)

        // Alt alone: recording ends, the zone keeps its hot key until the user answers.
        mouseClick(record)
        keyClick(Qt.Key_Space, Qt.AltModifier)
        verify(!sheet.recorder.recording)
        verify(question.visible)
        compare(named("optionOnlyText", sheet.contentItem).text,
                "macOS 15 lehnt Kürzel nur mit ⌥ oder ⌥⇧ ab. Trotzdem verwenden?")
        compare(record.text, "⌥Space")
        compare(fixture.storedZones()[0].hotKey.modifiers, 0x1800)

        // Recording again drops it; Alt+Shift is asked about too, and kept when the user says so.
        mouseClick(named("recordAgainButton", sheet.contentItem))
        verify(sheet.recorder.recording)
        verify(!question.visible)
        keyClick(Qt.Key_B, Qt.AltModifier | Qt.ShiftModifier)
        verify(question.visible)
        mouseClick(named("keepButton", sheet.contentItem))
        verify(!question.visible)
        compare(fixture.storedZones()[0].hotKey.keyCode, 11)
        compare(fixture.storedZones()[0].hotKey.modifiers, 0x0A00)
        compare(record.text, named("hotKeyBadge", row).text)

        // Closing the sheet unanswered keeps what the zone has.
        mouseClick(record)
        keyClick(Qt.Key_Space, Qt.AltModifier)
        verify(question.visible)
        sheet.close()
        tryCompare(sheet, "visible", false)
        compare(fixture.storedZones()[0].hotKey.keyCode, 11)
        sheet = openSheet(row)
        verify(!question.visible)
    }

    function test_closingTheSheetWhileRecordingGivesTheKeysBack() {
        fixture.saveZone("Büro", [fixture.uidAt(1)])
        const sheet = openSheet(zoneRows()[0])
        mouseClick(named("recordButton", sheet.contentItem))
        verify(sheet.recorder.recording)
        sheet.close()
        tryCompare(sheet, "visible", false)
        verify(!sheet.recorder.recording)

        const line = named("mainLine", itemsNamed("deviceRow")[1])
        line.forceActiveFocus()
        keyClick(Qt.Key_Space)
        compare(named("activateButton").text, "Aktivieren (1)")
        compare(fixture.storedZones()[0].hotKey, undefined)
    }

    function test_aHotKeyHeldElsewhereOrSharedIsSaid() {
        fixture.holdElsewhere(49, 0x1800)
        fixture.saveZone("Büro", [fixture.uidAt(1)], 49, 0x1800, "⌃⌥Space")
        fixture.saveZone("Küche", [fixture.uidAt(0)], 11, 0x1800, "⌃⌥B")
        fixture.saveZone("Flur", [fixture.uidAt(2)], 11, 0x1800, "⌃⌥B")
        const rows = zoneRows()
        const mark = named("takenMark", rows[0])
        verify(mark.visible)
        compare(mark.ToolTip.text, "Kürzel ist bereits belegt")
        mouseMove(mark, mark.width / 2, mark.height / 2)
        tryVerify(() => mark.ToolTip.visible, 2000, "the mark's own tooltip")
        verify(!rows[0].ToolTip.visible, "instead of the row's")
        verify(!named("takenMark", rows[1]).visible)
        compare(named("hotKeyBadge", rows[0]).text, "⌃⌥Space", "the zone keeps it")

        let sheet = openSheet(rows[0])
        verify(named("takenLine", sheet.contentItem).visible)
        verify(!named("sharedLine", sheet.contentItem).visible)
        mouseClick(named("doneButton", sheet.contentItem))
        tryCompare(sheet, "visible", false)

        sheet = openSheet(rows[2])
        const shared = named("sharedLine", sheet.contentItem)
        verify(shared.visible)
        compare(shared.text, "Auch von Zone „Küche“ verwendet")
        verify(!named("takenLine", sheet.contentItem).visible)
        verify(fixture.pressHotKey(11, 0x1800))
        verify(rows[1].active, "the earlier zone answers the shared combination")
    }
}
