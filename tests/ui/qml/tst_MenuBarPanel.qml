import QtQuick
import QtTest
import Brivello

// The tray panel as the user meets it: the hint without zones, the zones with their hot keys, the
// ones that cannot play greyed out, and the commands that follow the multi-output device.
TestCase {
    id: test
    name: "MenuBarPanel"
    when: windowShown

    Component {
        id: panelComponent
        MenuBarPanel {
            visible: true
        }
    }

    SignalSpy {
        id: openSpy
        signalName: "openWindowRequested"
    }
    SignalSpy {
        id: quitSpy
        signalName: "quitRequested"
    }

    function openPanel() {
        const panel = createTemporaryObject(panelComponent, null, {
            status: fixture.status, zones: fixture.zones
        })
        verify(panel)
        waitForRendering(panel.contentItem)
        return panel
    }
    function named(panel, name) {
        const found = findChild(panel.contentItem, name)
        verify(found, name)
        return found
    }
    function rows(panel) {
        const list = []
        const stack = [panel.contentItem]
        while (stack.length > 0) {
            const item = stack.pop()
            if (item.objectName === "panelZoneRow")
                list.push(item)
            for (let i = 0; i < item.children.length; ++i)
                stack.push(item.children[i])
        }
        list.sort((a, b) => a.mapToItem(null, 0, 0).y - b.mapToItem(null, 0, 0).y)
        return list
    }

    function test_withoutZonesTheHintAndTwoCommands() {
        fixture.reset(4)
        const panel = openPanel()
        compare(panel.width, 260)
        const hint = named(panel, "noZones")
        verify(hint.visible)
        compare(hint.text, "Noch keine Zonen. Lege sie im Fenster an.")
        compare(rows(panel).length, 0)
        verify(!named(panel, "activeDot").visible)
        verify(!named(panel, "deactivateCommand").visible)
        compare(named(panel, "openWindowCommand").text, "Fenster öffnen")
        compare(named(panel, "quitCommand").text, "Brivello beenden")

        openSpy.target = panel
        openSpy.clear()
        mouseClick(named(panel, "openWindowCommand"))
        compare(openSpy.count, 1)
        verify(!panel.visible, "the panel makes way for the window")
    }

    function test_zonesSwitchOnAndTheCommandsFollow() {
        fixture.reset(4)
        fixture.saveZone("Küche", [fixture.uidAt(0)], 11, 0x1800, "⌃⌥B")
        fixture.saveZone("Garten", ["airplay-garden", "bt-garden"])
        const panel = openPanel()
        verify(!named(panel, "noZones").visible)
        let list = rows(panel)
        compare(list.length, 2)
        compare(list[0].name, "Küche")
        compare(list[0].hotKeyText, "⌃⌥B")
        verify(list[0].enabled)
        compare(list[1].hotKeyText, "")
        verify(!list[1].enabled, "none of its devices is there")

        mouseClick(list[1])
        verify(!fixture.status.active)
        mouseClick(list[0])
        tryVerify(() => fixture.status.active)
        verify(list[0].active)
        verify(!list[1].active)
        verify(named(panel, "activeDot").visible)
        const deactivate = named(panel, "deactivateCommand")
        verify(deactivate.visible)
        compare(deactivate.text, "Deaktivieren")
        waitForRendering(panel.contentItem)
        mouseClick(deactivate)
        tryVerify(() => !fixture.status.active)
        verify(!list[0].active)
        verify(!deactivate.visible)
        verify(panel.visible, "switching stays in the panel")

        quitSpy.target = panel
        quitSpy.clear()
        mouseClick(named(panel, "quitCommand"))
        compare(quitSpy.count, 1)
    }
}
