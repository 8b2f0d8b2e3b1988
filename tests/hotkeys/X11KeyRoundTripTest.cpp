#include "HotKeyRecording.h"
#include "X11HotKeyBackend.h"
#include "X11KeyMap.h"
#include "ZoneCoding.h"

#include <QProcess>

#include <gtest/gtest.h>

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

// Every key the X11 backend can grab, pressed by a user on a private Xvfb's keyboard, read as the
// recorder reads it, stored and grabbed: the grab sits on the very key the user pressed.

namespace {

constexpr std::uint64_t control = 1u << 18, option = 1u << 19;

// The key a user presses for a symbol: one that types it without Shift if there is one (the
// comma key of a US keyboard carries "<" shifted, the key beside Shift carries it plain).
xcb_keycode_t userKey(xcb_key_symbols_t* table, xcb_keysym_t symbol) {
    xcb_keycode_t* keycodes = xcb_key_symbols_get_keycode(table, symbol);
    xcb_keycode_t chosen = keycodes ? keycodes[0] : 0;
    for (int i = 0; keycodes && keycodes[i] != XCB_NO_SYMBOL; ++i)
        if (xcb_key_symbols_get_keysym(table, keycodes[i], 0) == symbol) {
            chosen = keycodes[i];
            break;
        }
    std::free(keycodes);
    return chosen == XCB_NO_SYMBOL ? 0 : chosen;
}

} // namespace

TEST(X11KeyRoundTrip, EveryGrabbableKeyIsGrabbedOnTheKeyThatWasRecorded) {
    QProcess xvfb;
    xvfb.start(QStringLiteral("Xvfb"), {"-displayfd", "1", "-nolisten", "tcp"});
    ASSERT_TRUE(xvfb.waitForReadyRead(10000));
    const QByteArray display = ':' + xvfb.readLine().trimmed();
    xcb_connection_t* connection = xcb_connect(display.constData(), nullptr);
    ASSERT_FALSE(xcb_connection_has_error(connection));
    xcb_key_symbols_t* table = xcb_key_symbols_alloc(connection);
    X11HotKeyBackend backend(display.constData());
    ASSERT_TRUE(backend.isConnected());

    int keys = 0;
    for (const std::uint32_t code : grabbableMacKeyCodes()) {
        const std::uint32_t symbol = *x11KeySym(code);
        const xcb_keycode_t key = userKey(table, symbol);
        if (key == 0)
            continue; // not on this keyboard: nothing to press, nothing to grab
        SCOPED_TRACE(code);
        ++keys;

        const auto recordedCode = macKeyCodeOfKey(xcb_key_symbols_get_keysym(table, key, 0),
                                                  xcb_key_symbols_get_keysym(table, key, 1));
        ASSERT_EQ(recordedCode, code);
        const auto combo = recordedCombo({control | option, *recordedCode, keySymText(symbol)});
        ASSERT_TRUE(combo);
        const auto stored = decodeZones(encodeZones({Zone{{}, "Z", {}, combo}}));
        ASSERT_TRUE(stored && stored->front().hotKey);
        EXPECT_EQ(*stored->front().hotKey, *combo);

        HotKeyBackend::Ref ref = 0;
        ASSERT_EQ(backend.registerEventHotKey(combo->keyCode, combo->modifiers, {0, code}, ref), 0);
        EXPECT_EQ(backend.grabbedKey(ref), key);
    }
    EXPECT_GT(keys, 90);
    EXPECT_EQ(recordedCombo({control | option, 0x00, keySymText(*x11KeySym(0x00))})->display,
              "⌃⌥A");
    EXPECT_EQ(recordedCombo({control, 0x0A, keySymText(*x11KeySym(0x0A))})->display, "⌃<");

    xcb_key_symbols_free(table);
    xcb_disconnect(connection);
    xvfb.terminate();
    xvfb.waitForFinished();
}
