#include "X11HotKeyBackend.h"
#include "HotKeyCenter.h"
#include "OtherXClient.h"
#include "PrivateXServer.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QProcess>
#include <QProcessEnvironment>

#include <gtest/gtest.h>

#define XK_LATIN1
#include <X11/keysymdef.h>
#include <xcb/xproto.h>

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

    // Held down long enough to repeat, it is still one press.
    x.run(QStringLiteral("xdotool"),
          {QStringLiteral("keydown"), QStringLiteral("ctrl+alt+a"), QStringLiteral("sleep"),
           QStringLiteral("1.2"), QStringLiteral("keyup"), QStringLiteral("ctrl+alt+a")});
    waitFor([] { return false; }, 300);
    EXPECT_EQ(office, 4);
    type(QStringLiteral("ctrl+alt+a"));
    EXPECT_TRUE(waitFor([&] { return office == 5; })) << "released, the next press counts";

    // Other modifiers are another combination; after unregistering the key is free again.
    type(QStringLiteral("ctrl+a"));
    center.unregisterAll();
    type(QStringLiteral("ctrl+alt+a"));
    waitFor([] { return false; }, 300);
    EXPECT_EQ(office, 5);
}

TEST_F(X11HotKeys, ACombinationAnotherClientHoldsIsRefusedAndTheOthersStillWork) {
    OtherXClient other(x.display());
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

TEST_F(X11HotKeys, AKeyFollowsItsSymbolWhenTheLayoutChanges) {
    HotKeyCenter center(std::make_unique<X11HotKeyBackend>(x.display().toLatin1().constData()));
    int office = 0;
    center.registerHotKey({kKeyA, kControlOption, "⌃⌥A"}, [&office] { ++office; });

    OtherXClient layout(x.display());
    ASSERT_TRUE(layout.swapKeys(XK_a, XK_q));
    // xdotool looks "a" up in the new layout, so it presses the key that now carries it.
    EXPECT_TRUE(waitFor([&] {
        type(QStringLiteral("ctrl+alt+a"));
        return waitFor([&] { return office > 0; }, 200);
    })) << "the grab stayed on the key that carried A before";
    waitFor([] { return false; }, 300); // a retried press may still be on its way
    const int before = office;
    type(QStringLiteral("ctrl+alt+q")); // the key that used to carry A
    waitFor([] { return false; }, 300);
    EXPECT_EQ(office, before);
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
