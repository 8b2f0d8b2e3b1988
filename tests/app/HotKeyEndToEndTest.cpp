#include "EventLoop.h"
#include "OtherXClient.h"
#include "PrivateSoundServer.h"
#include "PrivateXServer.h"
#include "ZoneStore.h"

#include <QCoreApplication>
#include <QProcess>
#include <QProcessEnvironment>
#include <QSettings>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#define XK_LATIN1
#include <X11/keysymdef.h>
#include <xcb/xproto.h>

// The real brivello program on a private X display and a private sound server with virtual
// speakers: zones saved in its settings, their hot keys typed by xdotool while another window has
// the focus, the result read back from the sound server.

namespace {

constexpr std::uint32_t kControlOption = 0x1800;
constexpr std::uint32_t kKeyA = 0x00, kKeyB = 0x0B, kKeyC = 0x08;

class HotKeyEndToEnd : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(x.isRunning());
        ASSERT_TRUE(folder.isValid());
        // The server's client environment is set in this process, so brivello inherits it.
        ASSERT_TRUE(sound.start(true));
        environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DISPLAY"), x.display());
        environment.insert(QStringLiteral("HOME"), folder.path());
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), folder.filePath("config"));
        originalDefault = pactl({"get-default-sink"});
        ASSERT_FALSE(originalDefault.isEmpty());
    }

    void TearDown() override {
        if (brivello.state() != QProcess::NotRunning) {
            brivello.terminate();
            brivello.waitForFinished(10000);
        }
        focused.kill();
        focused.waitForFinished();
    }

    QString pactl(const QStringList& arguments) { return sound.pactl(arguments).trimmed(); }
    QString defaultSink() { return pactl({"get-default-sink"}); }
    bool routedTo(const QStringList& present, const QStringList& absent) {
        if (!defaultSink().contains(QLatin1String("brivello"), Qt::CaseInsensitive))
            return false;
        // One loopback per member device feeds it from Brivello's sink.
        QString loopbacks;
        for (const QString& line : pactl({"list", "short", "modules"}).split('\n'))
            if (line.contains(QLatin1String("module-loopback")))
                loopbacks += line + '\n';
        for (const auto& sink : present)
            if (!loopbacks.contains(sink))
                return false;
        for (const auto& sink : absent)
            if (loopbacks.contains(sink))
                return false;
        return true;
    }
    bool restored() {
        return defaultSink() == originalDefault &&
               !pactl({"list", "short", "sinks"})
                    .contains(QLatin1String("brivello"), Qt::CaseInsensitive);
    }

    void saveZones() {
        QSettings settings(folder.filePath("config/tandrel/brivello.conf"), QSettings::IniFormat);
        ZoneStore store(&settings);
        store.add("Wohnzimmer", {"usb_dac", "builtin_speakers"});
        store.setHotKey(HotKeyCombo{kKeyA, kControlOption, "⌃⌥A"}, store.zones()[0]);
        store.add("Küche", {"bt_speaker"});
        store.setHotKey(HotKeyCombo{kKeyB, kControlOption, "⌃⌥B"}, store.zones()[1]);
        store.add("Bad", {"hdmi_monitor"});
        store.setHotKey(HotKeyCombo{kKeyC, kControlOption, "⌃⌥C"}, store.zones()[2]);
    }

    void startBrivello() {
        brivello.setProcessEnvironment(environment);
        brivello.setProcessChannelMode(QProcess::ForwardedChannels);
        brivello.start(QStringLiteral(BRIVELLO_PROGRAM), {});
        ASSERT_TRUE(brivello.waitForStarted());
        // Its hot keys are registered right after it has connected to the sound server.
        ASSERT_TRUE(waitUntil([this] {
            return pactl({"list", "clients"}).contains(QLatin1String("Brivello"));
        }));
        QThread::msleep(1500);
    }

    void focusAnotherWindow() {
        focused.setProcessEnvironment(environment);
        focused.start(QStringLiteral("xmessage"), {"-name", "focused", "Anderes Fenster"});
        const QString window =
            x.run(QStringLiteral("xdotool"), {"search", "--sync", "--classname", "focused"});
        ASSERT_FALSE(window.trimmed().isEmpty());
        x.run(QStringLiteral("xdotool"),
              {"windowfocus", "--sync", window.trimmed().split('\n').first()});
    }

    void type(const QString& keys) { x.run(QStringLiteral("xdotool"), {"key", keys}); }

    PrivateXServer x;
    QTemporaryDir folder;
    QProcessEnvironment environment;
    PrivateSoundServer sound;
    QString originalDefault;
    QProcess brivello;
    QProcess focused;
};

} // namespace

TEST_F(HotKeyEndToEnd, ZoneKeysSwitchTheSoundFromAnywhere) {
    saveZones();
    // Another application holds ⌃⌥C before Brivello starts.
    OtherXClient other(x.display());
    ASSERT_TRUE(other.grab(XK_c, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1));
    focusAnotherWindow();
    startBrivello();
    ASSERT_TRUE(restored());

    type(QStringLiteral("ctrl+alt+a"));
    EXPECT_TRUE(waitUntil([this] {
        return routedTo({"usb_dac", "builtin_speakers"}, {"bt_speaker"});
    })) << "zone A's devices, as the default output";

    type(QStringLiteral("ctrl+alt+a"));
    EXPECT_TRUE(waitUntil([this] { return restored(); })) << "the same key switches it off";

    type(QStringLiteral("ctrl+alt+a"));
    ASSERT_TRUE(waitUntil([this] { return routedTo({"usb_dac"}, {"bt_speaker"}); }));
    type(QStringLiteral("ctrl+alt+b"));
    EXPECT_TRUE(waitUntil([this] {
        return routedTo({"bt_speaker"}, {"usb_dac", "builtin_speakers"});
    })) << "zone B's key moves the sound over in one step";

    type(QStringLiteral("Caps_Lock"));
    type(QStringLiteral("ctrl+alt+b"));
    EXPECT_TRUE(waitUntil([this] { return restored(); })) << "with Caps Lock on";
    type(QStringLiteral("Caps_Lock"));

    // The refused combination does nothing here, and the other client still gets it.
    type(QStringLiteral("ctrl+alt+c"));
    EXPECT_TRUE(waitUntil([&other] { return other.keyPresses() == 1; }));
    EXPECT_TRUE(restored());
    type(QStringLiteral("ctrl+alt+b"));
    EXPECT_TRUE(waitUntil([this] { return routedTo({"bt_speaker"}, {"hdmi_monitor"}); }));

    // A kill while active ends in the same clean state as switching off.
    brivello.terminate();
    ASSERT_TRUE(brivello.waitForFinished(10000));
    EXPECT_EQ(brivello.exitCode(), 0);
    EXPECT_TRUE(restored());
}

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    QCoreApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
