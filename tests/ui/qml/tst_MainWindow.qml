import QtQuick
import QtQuick.Controls
import QtTest
import Brivello

// The main window as a user meets it: ticking devices, switching on and off, the sliders' texts
// and steps, the empty list.
TestCase {
    id: test
    name: "MainWindow"
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
        window = windowComponent.createObject(null, {
            devices: fixture.devices, status: fixture.status, appearance: fixture.appearance,
            zones: fixture.zones, tone: fixture.tone
        })
        verify(window)
        waitForRendering(window.contentItem)
    }

    // Each window goes before the next test, scene graph and all: waiting runs the deferred
    // deletion that destroy() asks for.
    function cleanup() {
        window.destroy()
        window = null
        wait(50)
    }

    function named(name, root) {
        const found = findChild(root || window.contentItem, name)
        verify(found, name)
        return found
    }

    function rows() {
        const list = []
        const stack = [window.contentItem]
        while (stack.length > 0) {
            const item = stack.pop()
            if (item.objectName === "deviceRow")
                list.push(item)
            for (let i = item.children.length - 1; i >= 0; --i)
                stack.push(item.children[i])
        }
        list.sort((a, b) => a.y - b.y)
        return list
    }

    function clickRow(index) {
        mouseClick(named("mainLine", rows()[index]))
    }

    function test_tickingCountsInTheButtonAndSwitchingOnLocksTheList() {
        const activate = named("activateButton")
        compare(rows().length, 4)
        compare(activate.text, "Aktivieren")
        verify(!activate.enabled)

        clickRow(0)
        clickRow(2)
        // Space on a focused row ticks it as a click does.
        const line = named("mainLine", rows()[3])
        verify(line.Accessible.name.length > 0)
        line.forceActiveFocus()
        keyClick(Qt.Key_Space)
        compare(activate.text, "Aktivieren (3)")
        verify(activate.enabled)
        clickRow(3)
        compare(activate.text, "Aktivieren (2)")
        compare(named("selectionMark", rows()[0]).name, "checkmark.circle.fill")
        compare(named("selectionMark", rows()[1]).name, "circle")

        mouseClick(activate)
        const deactivate = named("deactivateButton")
        verify(deactivate.visible)
        verify(!activate.visible)
        verify(named("activePill").visible)
        verify(!named("reloadButton").enabled)
        compare(fixture.defaultOutputName(), "Brivello Multi-Output")

        // Locked: unticked rows are dimmed and ignore clicks; ticked ones show their meters.
        compare(rows()[1].opacity, 0.4)
        compare(rows()[0].opacity, 1)
        clickRow(1)
        compare(fixture.status.selectedCount, 2)
        tryCompare(named("levelMeter", rows()[0]), "opacity", 1)
        verify(!named("levelMeter", rows()[1]).visible)

        mouseClick(deactivate)
        verify(!named("activePill").visible)
        compare(activate.text, "Aktivieren (2)")
        compare(fixture.defaultOutputName(), "MacBook Pro-Lautsprecher")
        compare(rows()[1].opacity, 1)
        tryCompare(named("levelMeter", rows()[0]), "visible", false)
    }

    function test_volumeAndDelayTextsAndSteps() {
        clickRow(0) // the Bluetooth speaker: 60 % and 180 ms to start with
        const row = rows()[0]
        verify(named("sliders", row).visible)
        const volumeText = named("valueText", named("volumeLine", row))
        const delayText = named("valueText", named("delayLine", row))
        compare(volumeText.text, "60%")
        compare(delayText.text, "180 ms")

        fixture.changeVolume(0, 0.555)
        compare(volumeText.text, "55%")
        fixture.changeVolume(0, 0.7)
        compare(volumeText.text, "70%")

        // Dragging the delay goes in steps of 5, writes as it goes, and commits once on release;
        // while active the commit changes the multi-output device's delays once.
        mouseClick(named("activateButton"))
        const changes = fixture.delayChanges()
        const slider = named("delayLine", row).slider
        const handle = slider.handle
        const startX = handle.x + handle.width / 2
        const y = handle.y + handle.height / 2
        mousePress(slider, startX, y)
        mouseMove(slider, startX + slider.availableWidth * 0.08, y)
        mouseMove(slider, startX - slider.availableWidth * 0.1337, y)
        verify(fixture.storedDelay(0) % 5 === 0, "a multiple of 5: " + fixture.storedDelay(0))
        compare(delayText.text, Math.trunc(fixture.storedDelay(0)) + " ms")
        compare(fixture.delayChanges(), changes)
        mouseRelease(slider, startX - slider.availableWidth * 0.1337, y)
        compare(fixture.delayChanges(), changes + 1)

        // The keyboard reaches it too: a step per key, committed when the key comes up.
        slider.forceActiveFocus()
        const before = fixture.storedDelay(0)
        keyClick(Qt.Key_Right)
        compare(fixture.storedDelay(0), Math.min(before + 5, 400))
        compare(fixture.delayChanges(), changes + 2)

        // The end of the range is 400 and no more.
        mousePress(slider, slider.leftPadding + slider.availableWidth - 1, y)
        mouseMove(slider, slider.width + 80, y)
        mouseRelease(slider, slider.width + 80, y)
        compare(fixture.storedDelay(0), 400)
        compare(delayText.text, "400 ms")
    }

    function test_withoutDevicesThePlaceholderShowsAndNothingSwitchesOn() {
        fixture.unplugAll()
        tryCompare(named("noDevices"), "visible", true)
        compare(rows().length, 0)
        verify(!named("activateButton").enabled)
        compare(named("activateButton").text, "Aktivieren")
    }

    function test_theToneButtonStartsAndStopsTheToneActiveOrNot() {
        const button = named("toneButton")
        compare(button.text, "Testton")
        compare(button.symbol, "play.fill")
        mouseClick(button)
        compare(button.text, "Stopp")
        compare(button.symbol, "stop.fill")
        verify(fixture.tonePlaying())
        clickRow(0)
        mouseClick(named("activateButton"))
        tryCompare(fixture.status, "active", true)
        waitForRendering(window.contentItem)
        mouseClick(button)
        compare(button.text, "Testton")
        verify(!fixture.tonePlaying())
        mouseClick(button)
        verify(fixture.tonePlaying())
        compare(fixture.tonesStarted(), 2)
    }
}
