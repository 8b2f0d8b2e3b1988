#pragma once

#include "HotKeyBackend.h"

#include <QObject>

#include <array>
#include <map>
#include <set>

struct xcb_connection_t;
struct _XCBKeySymbols;
class QSocketNotifier;

// System-wide hot keys on an X server (also XWayland): key grabs on the root window through a
// connection of its own, so they work with no window of Brivello's and whatever has the focus.
// Caps Lock and Num Lock do not matter. Without a reachable X server every registration is
// refused.
class X11HotKeyBackend : public QObject, public HotKeyBackend {
    Q_OBJECT
public:
    // Connects to `display`, or to $DISPLAY when empty.
    explicit X11HotKeyBackend(const char* display = nullptr, QObject* parent = nullptr);
    ~X11HotKeyBackend() override;

    bool isConnected() const { return m_connection != nullptr; }

    Status installEventHandler(Handler handler) override;
    Status registerEventHotKey(std::uint32_t keyCode, std::uint32_t modifiers, HotKeyID id,
                               Ref& outRef) override;
    Status unregisterEventHotKey(Ref ref) override;

    // The key a registration holds on the current layout; 0 for none.
    std::uint8_t grabbedKey(Ref ref) const;

    // Carbon's answer for a key it does not know.
    static constexpr Status paramErr = -50;

private:
    struct Grab {
        std::uint32_t keySym = 0;
        std::uint8_t keycode = 0; // 0 while the current layout has no key for keySym
        std::uint16_t modifiers = 0;
        HotKeyID id;
    };

    void readEvents();
    std::array<std::uint16_t, 4> lockVariants() const;
    void setUpXkb();
    std::uint16_t readNumLockMask() const;
    std::uint8_t keycodeOf(std::uint32_t keySym) const;
    // Grabs every lock variant; on failure nothing is left grabbed and the answer says why:
    // eventHotKeyExistsErr when another client holds the combination (BadAccess).
    Status grab(const Grab& grab);
    void ungrab(const Grab& grab);
    // After a layout change the same symbols sit on other keys: move every grab with them.
    void regrabAfterMappingChange();

    xcb_connection_t* m_connection = nullptr;
    _XCBKeySymbols* m_keySymbols = nullptr;
    std::uint32_t m_root = 0;
    std::uint16_t m_numLockMask = 0;
    std::uint8_t m_xkbEvent = 0; // the XKB extension's event code, 0 without XKB
    QSocketNotifier* m_notifier = nullptr;
    Handler m_handler;
    std::map<Ref, Grab> m_grabs;
    std::set<std::uint8_t> m_heldKeys; // grabbed keys pressed and not yet released
    Ref m_nextRef = 1;
};
