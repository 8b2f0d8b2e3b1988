import QtQuick
import Brivello

// The animated logo over the window as it opens, on the window's background: played once over
// `playbackDuration` seconds, ended early by a click. Reports `finish` once; whoever shows it
// fades it away.
Rectangle {
    id: splash

    property alias playbackDuration: playback.playbackDuration
    property alias source: animation.source
    readonly property alias playback: playback

    signal finish()

    color: Theme.windowBackground

    SplashAnimation {
        id: animation
        // Bundled with the module, beside this file.
        source: Qt.resolvedUrl("assets/SplashAnim.png")
    }

    SplashPlayback {
        id: playback
        animation: animation
        onFinish: splash.finish()
    }

    // Picks the frame at every redraw of the window, and only while playing.
    FrameAnimation {
        running: playback.playing
        onTriggered: playback.advance()
    }

    SplashFrame {
        objectName: "splashFrame"
        anchors.centerIn: parent
        width: Math.min(parent.width, 460)
        height: Math.min(parent.height, 300)
        animation: animation
        index: playback.currentFrame
        visible: playback.started
    }

    MouseArea {
        anchors.fill: parent
        onClicked: playback.finishNow()
    }
}
