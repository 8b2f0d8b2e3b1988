#include "PrivateDesktopTest.h"
#include "WindowShot.h"
#include "ZoneStore.h"

#include <QDir>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <xcb/xcb.h>

#include <cstring>
#include <functional>

// The real brivello program on a private Xvfb with a tray host (trayer) and a private sound
// server: its tray icon opens the panel, the panel switches a zone on and the sound off, the window
// closes and comes back (from the panel, and when Brivello is launched again), and quitting from
// the panel leaves the sound server as it was.

namespace {

// The panel's light scheme: its background and the accent of the active zone's check mark.
constexpr QRgb kPanelBackground = qRgb(0xfb, 0xfb, 0xfc);
constexpr QRgb kAccent = qRgb(0x00, 0x7a, 0xff);
// Qt adds " — Brivello" to it once the window is gone.
const QString kPanelTitle = QStringLiteral("^Brivello-Menü");

class TrayEndToEnd : public PrivateDesktopTest {
protected:
    void SetUp() override {
        PrivateDesktopTest::SetUp();
        if (HasFatalFailure())
            return;

        QSettings settings(settingsFile(), QSettings::IniFormat);
        ZoneStore zones(&settings);
        zones.add("Wohnzimmer", {"usb_dac", "builtin_speakers"});
        zones.add("Garten", {"garden_speaker"}); // never connected
        // ⌃⌥A by macOS key code and Carbon mask.
        zones.setHotKey(HotKeyCombo{0x00, 0x1800, "⌃⌥A"}, zones.zones()[0]);
    }
    void TearDown() override {
        trayer.terminate();
        trayer.waitForFinished();
        PrivateDesktopTest::TearDown();
    }

    // The first visible window whose title matches, or 0.
    xcb_window_t visibleWindow(const QString& title) {
        return xdotool({"search", "--onlyvisible", "--name", title}).section('\n', 0, 0).toUInt();
    }
    // The main window when it is on screen, or 0; the tray icon has the same title.
    xcb_window_t visibleMainWindow() {
        const auto ids = xdotool({"search", "--onlyvisible", "--name", "^Brivello$"}).split('\n');
        for (const QString& id : ids) {
            auto* geometry = xcb_get_geometry_reply(x, xcb_get_geometry(x, id.toUInt()), nullptr);
            const bool large = geometry && geometry->width >= 400;
            std::free(geometry);
            if (large)
                return id.toUInt();
        }
        return 0;
    }
    void clickAt(xcb_window_t window, int px, int py) {
        xdotool({"mousemove", "--window", QString::number(window), QString::number(px),
                 QString::number(py), "click", "1"});
    }
    xcb_atom_t atom(const char* name) {
        auto* reply = xcb_intern_atom_reply(
            x, xcb_intern_atom(x, 0, std::uint16_t(std::strlen(name)), name), nullptr);
        const xcb_atom_t result = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
        std::free(reply);
        return result;
    }
    bool trayRunning() {
        auto* reply = xcb_get_selection_owner_reply(
            x, xcb_get_selection_owner(x, atom("_NET_SYSTEM_TRAY_S0")), nullptr);
        const bool owned = reply && reply->owner != XCB_WINDOW_NONE;
        std::free(reply);
        return owned;
    }
    // What a window manager sends when the user closes a window with its title bar's button.
    void askToClose(xcb_window_t window) {
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = window;
        event.type = atom("WM_PROTOCOLS");
        event.data.data32[0] = atom("WM_DELETE_WINDOW");
        event.data.data32[1] = XCB_CURRENT_TIME;
        xcb_send_event(x, 0, window, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<char*>(&event));
        xcb_flush(x);
    }

    // Brivello with its window up, connected to the sound server; its standard error is read.
    void launch() {
        startBrivello(QProcess::SeparateChannels);
        brivello.setReadChannel(QProcess::StandardError);
        ASSERT_TRUE(waitUntil([this] { return visibleMainWindow() != 0; }));
        mainWindow = visibleMainWindow();
        ASSERT_TRUE(waitUntil([this] {
            return sound.pactl({"list", "clients"}).contains("Brivello");
        }));
        QThread::msleep(1000);
        endSplash(QString::number(mainWindow));
    }

    // Clicks the tray icon, the only icon in the tray at the screen's top-right corner, and
    // waits for the panel and its picture.
    xcb_window_t openPanel() {
        xdotool({"mousemove", "1268", "12", "click", "1"});
        if (!waitUntil([this] { return visibleWindow(kPanelTitle) != 0; }))
            return 0;
        QThread::msleep(400); // drawn
        return visibleWindow(kPanelTitle);
    }
    // The panel's lines with something drawn on them: the header, the zone rows, the commands.
    std::vector<WindowShot::Span> panelLines(xcb_window_t panel) {
        last = WindowShot::capture(x, panel);
        if (!last)
            return {};
        return last->drawnLines(14, 200, 1, last->height() - 2, 250);
    }

    bool routedToLivingRoom() { return routedTo({"usb_dac", "builtin_speakers"}); }

    QProcess trayer;
    xcb_window_t mainWindow = 0;
};

} // namespace

TEST_F(TrayEndToEnd, ThePanelSwitchesZonesAndBrivelloLivesOnInTheTrayUntilItQuits) {
    trayer.setProcessEnvironment(environment);
    trayer.start(QStringLiteral("trayer"),
                 {"--edge", "top", "--align", "right", "--widthtype", "request", "--height", "24"});
    ASSERT_TRUE(waitUntil([this] { return trayRunning(); }));
    launch();
    ASSERT_TRUE(restored());

    xcb_window_t panel = openPanel();
    ASSERT_NE(panel, 0u) << "the tray icon opens the panel";
    // Header, two zones, "Fenster öffnen" and "Brivello beenden".
    auto lines = panelLines(panel);
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_EQ(last->count(QRect(12, lines[1].first, 20, lines[1].length()), kAccent), 0);

    clickAt(panel, 120, lines[2].middle());
    EXPECT_FALSE(waitUntil([this] { return !restored(); }, 1500))
        << "a zone none of whose devices is there does nothing";
    clickAt(panel, 120, lines[1].middle());
    EXPECT_TRUE(waitUntil([this] { return routedToLivingRoom(); })) << "the zone's devices play";
    // "Deaktivieren" joins the commands, and the zone has its check mark.
    ASSERT_TRUE(waitUntil([&] { return panelLines(panel).size() == 6; }));
    lines = panelLines(panel);
    EXPECT_GT(last->count(QRect(12, lines[1].first, 20, lines[1].length()), kAccent), 20);
    EXPECT_EQ(last->count(QRect(12, lines[2].first, 20, lines[2].length()), kAccent), 0);

    clickAt(panel, 120, lines[3].middle());
    EXPECT_TRUE(waitUntil([this] { return restored(); })) << "\"Deaktivieren\"";
    ASSERT_TRUE(waitUntil([&] { return panelLines(panel).size() == 5; }));
    xdotool({"key", "Escape"});
    EXPECT_TRUE(waitUntil([this] { return visibleWindow(kPanelTitle) == 0; }))
        << "Escape closes the panel";

    // Without its window Brivello goes on, and its hot keys with it.
    askToClose(mainWindow);
    ASSERT_TRUE(waitUntil([this] { return visibleMainWindow() == 0; }));
    QThread::msleep(500);
    EXPECT_FALSE(brivello.waitForFinished(500));
    xdotool({"key", "ctrl+alt+a"});
    EXPECT_TRUE(waitUntil([this] { return routedToLivingRoom(); })) << "the hot key, windowless";

    panel = openPanel();
    ASSERT_NE(panel, 0u);
    lines = panelLines(panel);
    ASSERT_EQ(lines.size(), 6u);
    clickAt(panel, 120, lines[4].middle());
    EXPECT_TRUE(waitUntil([this] { return visibleMainWindow() != 0; }))
        << "\"Fenster öffnen\" brings the window back";
    // Launching Brivello again brings the window back too, and the second start ends. Closing
    // ended the first window's X window: the new one has a new id.
    askToClose(visibleMainWindow());
    ASSERT_TRUE(waitUntil([this] { return visibleMainWindow() == 0; }));
    EXPECT_EQ(command({}).exitCode, 0);
    EXPECT_TRUE(waitUntil([this] { return visibleMainWindow() != 0; })) << "a second start";
    QThread::msleep(800); // drawn and focused, before the panel is asked for again

    // Quitting while on ends like a switch-off: the previous default back, nothing left over.
    panel = openPanel();
    ASSERT_NE(panel, 0u);
    lines = panelLines(panel);
    ASSERT_EQ(lines.size(), 6u);
    clickAt(panel, 120, lines[5].middle());
    ASSERT_TRUE(brivello.waitForFinished(10000)) << "\"Brivello beenden\"";
    EXPECT_EQ(brivello.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(brivello.exitCode(), 0);
    EXPECT_TRUE(restored());
}

TEST_F(TrayEndToEnd, CtrlQInTheWindowQuitsAsThePanelDoes) {
    trayer.setProcessEnvironment(environment);
    trayer.start(QStringLiteral("trayer"),
                 {"--edge", "top", "--align", "right", "--widthtype", "request", "--height", "24"});
    ASSERT_TRUE(waitUntil([this] { return trayRunning(); }));
    launch();
    xdotool({"key", "ctrl+alt+a"});
    ASSERT_TRUE(waitUntil([this] { return routedToLivingRoom(); }));
    xdotool({"windowfocus", "--sync", QString::number(mainWindow)});
    xdotool({"key", "ctrl+q"});
    ASSERT_TRUE(brivello.waitForFinished(10000));
    EXPECT_EQ(brivello.exitCode(), 0);
    EXPECT_TRUE(restored());
}

TEST_F(TrayEndToEnd, WithoutATrayTheWindowIsTheWayBackSoClosingItQuits) {
    launch();
    askToClose(mainWindow);
    ASSERT_TRUE(brivello.waitForFinished(10000));
    EXPECT_EQ(brivello.exitCode(), 0);
    const QString errors = QString::fromUtf8(brivello.readAllStandardError());
    EXPECT_EQ(errors.count("no system tray"), 1) << qPrintable(errors);
    EXPECT_TRUE(restored());
}

TEST_F(TrayEndToEnd, ATrayThatAppearsAfterBrivelloTakesItsIcon) {
    launch();
    trayer.setProcessEnvironment(environment);
    trayer.start(QStringLiteral("trayer"),
                 {"--edge", "top", "--align", "right", "--widthtype", "request", "--height", "24"});
    ASSERT_TRUE(waitUntil([this] { return trayRunning(); }));
    ASSERT_TRUE(waitUntil([this] { return openPanel() != 0; })) << "the icon is in the new tray";
    xdotool({"key", "Escape"});
    askToClose(mainWindow);
    ASSERT_TRUE(waitUntil([this] { return visibleMainWindow() == 0; }));
    EXPECT_FALSE(brivello.waitForFinished(1500)) << "Brivello lives on in the tray";
}
