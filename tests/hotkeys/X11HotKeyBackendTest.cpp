#include "X11HotKeyBackend.h"
#include "HotKeyCenter.h"
#include "PrivateXServer.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QProcess>
#include <QProcessEnvironment>

#include <gtest/gtest.h>

#define XK_LATIN1
#include <X11/keysymdef.h>
#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

#include <cstdlib>
#include <functional>

// Real grabs on a private Xvfb, keys sent by xdotool through XTEST, as a user would type them.

namespace {

constexpr std::uint32_t kControlOption = 0x1800;
constexpr std::uint32_t kKeyA = 0x00, kKeyB = 0x0B, kKeyC = 0x08;

bool waitFor(const std::function<bool()>& condition, int milliseconds = 3000) {
    QDeadlineTimer deadline(milliseconds);
    while (!condition() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    return condition();
}

// Another X client that holds a combination first, as another application's shortcut would.
class OtherClient {
public:
    explicit OtherClient(const QString& display) {
        m_connection = xcb_connect(display.toLatin1().constData(), nullptr);
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    }
    ~OtherClient() { xcb_disconnect(m_connection); }
    bool grab(xcb_keysym_t keySym, std::uint16_t modifiers) {
        auto* symbols = xcb_key_symbols_alloc(m_connection);
        xcb_keycode_t* codes = xcb_key_symbols_get_keycode(symbols, keySym);
        auto* error = xcb_request_check(
            m_connection, xcb_grab_key_checked(m_connection, 1, m_root, modifiers, codes[0],
                                               XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        std::free(codes);
        xcb_key_symbols_free(symbols);
        std::free(error);
        return error == nullptr;
    }
    int keyPresses() {
        while (auto* event = xcb_poll_for_event(m_connection)) {
            m_presses += (event->response_type & 0x7F) == XCB_KEY_PRESS;
            std::free(event);
        }
        return m_presses;
    }

private:
    xcb_connection_t* m_connection;
    xcb_window_t m_root;
    int m_presses = 0;
};

class X11HotKeys : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(x.isRunning()) << "Xvfb did not start";
        // Another application's window has the keyboard focus.
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DISPLAY"), x.display());
        focused.setProcessEnvironment(environment);
        focused.start(QStringLiteral("xmessage"),
                      {QStringLiteral("-name"), QStringLiteral("focused"), QStringLiteral("x")});
        const QString window = x.run(QStringLiteral("xdotool"),
                                     {QStringLiteral("search"), QStringLiteral("--sync"),
                                      QStringLiteral("--classname"), QStringLiteral("focused")})
                                   .trimmed();
        ASSERT_FALSE(window.isEmpty());
        x.run(QStringLiteral("xdotool"), {QStringLiteral("windowfocus"), QStringLiteral("--sync"),
                                          window.split('\n').first()});
    }
    void TearDown() override {
        focused.kill();
        focused.waitForFinished();
    }
    void type(const QString& keys) {
        x.run(QStringLiteral("xdotool"), {QStringLiteral("key"), keys});
    }

    PrivateXServer x;
    QProcess focused;
};

} // namespace

TEST_F(X11HotKeys, AGrabbedCombinationFiresWhateverHasTheFocusAndWhateverTheLocks) {
    auto backend = std::make_unique<X11HotKeyBackend>(x.display().toLatin1().constData());
    ASSERT_TRUE(backend->isConnected());
    HotKeyCenter center(std::move(backend));
    int office = 0;
    center.registerHotKey({kKeyA, kControlOption, "⌃⌥A"}, [&office] { ++office; });
    ASSERT_EQ(center.registeredIDs().size(), 1u);

    type(QStringLiteral("ctrl+alt+a"));
    EXPECT_TRUE(waitFor([&] { return office == 1; }));

    type(QStringLiteral("Caps_Lock"));
    type(QStringLiteral("ctrl+alt+a"));
    EXPECT_TRUE(waitFor([&] { return office == 2; })) << "with Caps Lock on";
    type(QStringLiteral("Num_Lock"));
    type(QStringLiteral("ctrl+alt+a"));
    EXPECT_TRUE(waitFor([&] { return office == 3; })) << "with Caps Lock and Num Lock on";
    type(QStringLiteral("Caps_Lock"));
    type(QStringLiteral("Num_Lock"));

    // Other modifiers are another combination; after unregistering the key is free again.
    type(QStringLiteral("ctrl+a"));
    center.unregisterAll();
    type(QStringLiteral("ctrl+alt+a"));
    waitFor([] { return false; }, 300);
    EXPECT_EQ(office, 3);
}

TEST_F(X11HotKeys, ACombinationAnotherClientHoldsIsRefusedAndTheOthersStillWork) {
    OtherClient other(x.display());
    ASSERT_TRUE(other.grab(XK_b, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1));

    HotKeyCenter center(std::make_unique<X11HotKeyBackend>(x.display().toLatin1().constData()));
    int office = 0, kitchen = 0;
    center.registerHotKey({kKeyB, kControlOption, "⌃⌥B"}, [&kitchen] { ++kitchen; });
    center.registerHotKey({kKeyC, kControlOption, "⌃⌥C"}, [&office] { ++office; });
    EXPECT_EQ(center.registeredIDs(), std::vector<std::uint32_t>{2});

    type(QStringLiteral("ctrl+alt+c"));
    EXPECT_TRUE(waitFor([&] { return office == 1; }));
    type(QStringLiteral("ctrl+alt+b"));
    EXPECT_TRUE(waitFor([&] { return other.keyPresses() == 1; })) << "the other client keeps it";
    EXPECT_EQ(kitchen, 0);
}

TEST(X11HotKeysWithoutServer, EveryRegistrationIsRefusedQuietly) {
    auto backend = std::make_unique<X11HotKeyBackend>(":9999");
    EXPECT_FALSE(backend->isConnected());
    HotKeyCenter center(std::move(backend));
    center.registerHotKey({kKeyA, kControlOption, "⌃⌥A"}, [] {});
    EXPECT_TRUE(center.registeredIDs().empty());
}

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    QCoreApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
