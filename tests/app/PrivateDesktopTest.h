#pragma once

#include "PrivateSoundServer.h"
#include "WindowShot.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <xcb/xcb.h>

#include <functional>
#include <optional>
#include <string>

// Whether `done` held within `milliseconds`, asked every 50 ms.
bool waitUntil(const std::function<bool()>& done, int milliseconds = 10000);

// Where the real brivello program runs in an end-to-end test: a private Xvfb, a private sound
// server with the four typed speakers, a home and settings of its own, and xdotool on that display.
class PrivateDesktopTest : public testing::Test {
protected:
    void SetUp() override;
    // Ends brivello, then the display; after a failure it keeps `last` as a PNG in /tmp.
    void TearDown() override;

    // The brivello program in this desktop; its output goes to the test's unless the test reads
    // it (`channels`).
    void startBrivello(QProcess::ProcessChannelMode channels = QProcess::ForwardedChannels);
    // The window opens behind the splash screen: a click on its title ends it, and it fades.
    void endSplash(const QString& window);
    // A second brivello with these arguments, as from a shell in this desktop, run to its end.
    struct Command {
        int exitCode = -1;
        QString out;
        QString err;
    };
    Command command(const QStringList& arguments);
    QString xdotool(const QStringList& arguments);
    // Brivello's device is the default output and plays on each of `present`, on none of `absent`.
    bool routedTo(const QStringList& present, const QStringList& absent = {});
    // The previous default output is back and nothing of Brivello's is left on the server.
    bool restored();
    // Keys one after another, separated by spaces.
    void type(const QString& keys) { xdotool(QStringList{"key"} + keys.split(' ')); }
    // Brivello's settings file in the private home.
    QString settingsFile() const { return folder.filePath("config/tandrel/brivello.conf"); }

    QTemporaryDir folder;
    QProcess xvfb;
    QString display;
    xcb_connection_t* x = nullptr;
    PrivateSoundServer sound;
    QProcessEnvironment environment;
    std::string originalDefault; // the sound server's default output before Brivello
    QProcess brivello;
    std::optional<WindowShot> last; // the last picture a test took of a window
};
