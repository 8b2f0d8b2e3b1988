#include "PrivateDesktopTest.h"
#include "SoundProbe.h"
#include "ZoneStore.h"

#include <QProcess>
#include <QRegularExpression>
#include <QSettings>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

// The real brivello program on a private Xvfb and a private sound server: the test tone's button
// pressed with the pointer, the tone measured on the devices' monitors.

namespace {

class ToneEndToEnd : public PrivateDesktopTest {
protected:
    bool toneStream() { return sound.pactl({"list", "sink-inputs"}).contains("\"Testton\""); }
    // Presses the button and waits until the server has the tone's stream, or has it no more.
    void pressTone(bool playing) {
        clickToneButton();
        EXPECT_TRUE(waitUntil([&] { return toneStream() == playing; }, 3000));
    }
    bool connected() { return sound.pactl({"list", "clients"}).contains("Brivello"); }
    bool active() {
        return QString::fromStdString(sound.defaultSink())
            .contains("brivello", Qt::CaseInsensitive);
    }
    // The tone button sits at the bottom bar's left end.
    void clickToneButton() { clickInWindow(60, -26); }
    // A click at a place of the window; a negative y counts from its bottom.
    void clickInWindow(int dx, int dy) {
        const QString window =
            xdotool({"search", "--onlyvisible", "--name", "^Brivello$"}).section('\n', 0, 0);
        ASSERT_FALSE(window.isEmpty());
        int x = 0, y = 0, height = 0;
        for (const auto& line : xdotool({"getwindowgeometry", "--shell", window}).split('\n')) {
            const auto value = line.section('=', 1).toInt();
            x = line.startsWith("X=") ? value : x;
            y = line.startsWith("Y=") ? value : y;
            height = line.startsWith("HEIGHT=") ? value : height;
        }
        // Not --sync: that waits for a motion, and the pointer is there already the second time.
        xdotool({"mousemove", QString::number(x + dx),
                 QString::number(dy < 0 ? y + height + dy : y + dy), "sleep", "0.1", "click", "1"});
    }
    // The 440 Hz amplitude on each sink's monitor while `seconds` pass. A sink that has just
    // started running takes a while before its monitor carries what it plays.
    std::vector<double> amplitudes(const QStringList& sinks, double seconds = 2.5) {
        std::vector<std::unique_ptr<MonitorRecording>> recordings;
        for (const auto& sink : sinks)
            recordings.push_back(std::make_unique<MonitorRecording>(sink + ".monitor"));
        QThread::msleep(static_cast<unsigned long>(seconds * 1000));
        std::vector<double> result;
        for (auto& recording : recordings) {
            auto samples = recording->channel(0);
            result.push_back(toneAmplitude(samples));
        }
        return result;
    }
};

} // namespace

TEST_F(ToneEndToEnd, TheToneButtonPlaysOnEveryActiveDeviceAndAfterAServerRestart) {
    {
        QSettings settings(settingsFile(), QSettings::IniFormat);
        ZoneStore zones(&settings);
        zones.add("Wohnzimmer", {"usb_dac", "builtin_speakers"});
        zones.setHotKey(HotKeyCombo{0x00, 0x1800, "⌃⌥"}, zones.zones()[0]); // ⌃⌥A
    }
    startBrivello();
    ASSERT_TRUE(waitUntil([this] { return connected(); }));
    QThread::msleep(1000);
    endSplash(xdotool({"search", "--onlyvisible", "--name", "^Brivello$"}).section('\n', 0, 0));
    const QString userDefault = QString::fromStdString(sound.defaultSink());

    xdotool({"key", "ctrl+alt+a"});
    ASSERT_TRUE(waitUntil([this] { return active(); }));
    pressTone(true);
    const auto playing = amplitudes({"usb_dac", "builtin_speakers", "hdmi_monitor"});
    EXPECT_NEAR(playing[0], 0.18, 0.01) << "440 Hz on the first device of the zone";
    EXPECT_NEAR(playing[1], 0.18, 0.01) << "and on the second";
    EXPECT_LT(playing[2], 0.005) << "none on a device outside it";

    pressTone(false); // "Stopp"
    QThread::msleep(300);
    EXPECT_LT(amplitudes({"usb_dac"}, 0.5)[0], 0.005) << "stopped";

    // Switched off, the tone plays on the default output alone.
    xdotool({"key", "ctrl+alt+a"});
    ASSERT_TRUE(
        waitUntil([&] { return QString::fromStdString(sound.defaultSink()) == userDefault; }));
    const QString other = userDefault == "usb_dac" ? "hdmi_monitor" : "usb_dac";
    pressTone(true);
    const auto alone = amplitudes({userDefault, other});
    EXPECT_NEAR(alone[0], 0.18, 0.01);
    EXPECT_LT(alone[1], 0.005);

    // The server restarts under the playing tone; the button works again once it is back.
    sound.stop();
    ASSERT_TRUE(sound.start());
    ASSERT_TRUE(waitUntil([this] { return connected(); }));
    pressTone(true);
    EXPECT_NEAR(amplitudes({userDefault})[0], 0.18, 0.01) << "after the restart";
    pressTone(false);

    brivello.terminate();
    ASSERT_TRUE(brivello.waitForFinished(10000));
    EXPECT_EQ(brivello.exitCode(), 0);
}
