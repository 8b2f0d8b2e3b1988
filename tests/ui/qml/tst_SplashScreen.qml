import QtQuick
import QtTest
import Brivello

// The window opening behind the animated logo: the logo plays its frames in order over the main
// view, finishes once by itself or at a click, and fades away, leaving the main view.
TestCase {
    id: test
    name: "SplashScreen"
    when: windowShown

    Component {
        id: windowComponent
        MainWindow {
            visible: true
            splash: Component {
                SplashScreen {
                    playbackDuration: 1.0
                }
            }
        }
    }

    Component {
        id: finishSpy
        SignalSpy {
            signalName: "finish"
        }
    }

    function openWindow() {
        fixture.reset(2)
        const window = createTemporaryObject(windowComponent, null, {
            devices: fixture.devices, status: fixture.status, appearance: fixture.appearance,
            zones: fixture.zones, tone: fixture.tone
        })
        verify(window)
        const slot = findChild(window.contentItem, "splashSlot")
        verify(slot)
        tryVerify(() => slot.item !== null)
        return {window: window, slot: slot, splash: slot.item,
                finished: createTemporaryObject(finishSpy, test, {target: slot.item})}
    }

    function test_playsItsFramesThenFadesAwayOverTheMainView() {
        const opened = openWindow()
        const playback = opened.splash.playback
        tryVerify(() => playback.playing, 5000, "the bundled animation decodes and starts")
        verify(opened.slot.z > opened.window.mainView.z)

        let last = 0, seen = 1
        tryVerify(() => {
            if (playback.currentFrame !== last) {
                verify(playback.currentFrame > last, "frames only move forward")
                last = playback.currentFrame
                ++seen
            }
            return playback.finished
        }, 5000)
        verify(seen > 5, "several frames were shown, not just the first")
        compare(opened.finished.count, 1)
        verify(opened.slot.active, "it fades before it goes")
        tryVerify(() => opened.slot.opacity < 1 || !opened.slot.active, 1000, "fading")
        tryCompare(opened.slot, "active", false, 2000)
        compare(opened.finished.count, 1)
    }

    function test_aClickEndsItAtOnceAndTheTimerAddsNothing() {
        const opened = openWindow()
        mouseClick(opened.splash)
        compare(opened.finished.count, 1)
        tryCompare(opened.slot, "active", false, 2000)
        wait(1100) // past the playback duration
        compare(opened.finished.count, 1)
    }
}
