#include "X11HotKeyBackend.h"

#include "X11KeyMap.h"

#include <QSocketNotifier>

#define XK_MISCELLANY
#include <X11/keysymdef.h>
#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>
// xkb.h names a member "explicit"; C++ needs another spelling while it is read.
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit

#include <cstdlib>
#include <memory>

namespace {

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};
template <typename T> using XcbReply = std::unique_ptr<T, FreeDeleter>;

constexpr std::uint8_t kBadAccess = 10;

} // namespace

X11HotKeyBackend::X11HotKeyBackend(const char* display, QObject* parent) : QObject(parent) {
    int screenNumber = 0;
    xcb_connection_t* connection = xcb_connect(display, &screenNumber);
    if (xcb_connection_has_error(connection)) {
        xcb_disconnect(connection);
        return;
    }
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screenNumber && screens.rem; ++i)
        xcb_screen_next(&screens);
    if (!screens.rem) {
        xcb_disconnect(connection);
        return;
    }
    m_connection = connection;
    m_root = screens.data->root;
    m_keySymbols = xcb_key_symbols_alloc(m_connection);

    m_numLockMask = readNumLockMask();
    setUpXkb();

    m_notifier =
        new QSocketNotifier(xcb_get_file_descriptor(m_connection), QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &X11HotKeyBackend::readEvents);
}

X11HotKeyBackend::~X11HotKeyBackend() {
    if (!m_connection)
        return;
    for (const auto& [ref, grab] : m_grabs)
        ungrab(grab);
    xcb_flush(m_connection);
    xcb_key_symbols_free(m_keySymbols);
    xcb_disconnect(m_connection);
}

HotKeyBackend::Status X11HotKeyBackend::installEventHandler(Handler handler) {
    m_handler = std::move(handler);
    return 0;
}

void X11HotKeyBackend::setUpXkb() {
    // A held key repeats as press after press (and, without this, release after release):
    // asked for detectable auto-repeat, the server sends one release at the very end, so a held
    // combination counts as one press. A client using XKB hears of layout changes through XKB
    // only, so it asks for those too.
    XcbReply<xcb_xkb_use_extension_reply_t> xkb{xcb_xkb_use_extension_reply(
        m_connection, xcb_xkb_use_extension(m_connection, 1, 0), nullptr)};
    if (!xkb || !xkb->supported)
        return;
    m_xkbEvent = xcb_get_extension_data(m_connection, &xcb_xkb_id)->first_event;
    const std::uint32_t flag = XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT;
    std::free(xcb_xkb_per_client_flags_reply(
        m_connection,
        xcb_xkb_per_client_flags(m_connection, XCB_XKB_ID_USE_CORE_KBD, flag, flag, 0, 0, 0),
        nullptr));
    const std::uint16_t events =
        XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
    const std::uint16_t allMapParts = 0xFF;
    xcb_xkb_select_events(m_connection, XCB_XKB_ID_USE_CORE_KBD, events, 0, events, allMapParts,
                          allMapParts, nullptr);
    xcb_flush(m_connection);
}

std::uint16_t X11HotKeyBackend::readNumLockMask() const {
    // Num Lock's modifier bit is whatever the server's modifier map says, not a constant.
    const xcb_keycode_t numLock = keycodeOf(XK_Num_Lock);
    if (numLock == 0)
        return 0;
    XcbReply<xcb_get_modifier_mapping_reply_t> mapping(xcb_get_modifier_mapping_reply(
        m_connection, xcb_get_modifier_mapping(m_connection), nullptr));
    if (!mapping)
        return 0;
    const xcb_keycode_t* codes = xcb_get_modifier_mapping_keycodes(mapping.get());
    const int perModifier = mapping->keycodes_per_modifier;
    for (int modifier = 0; modifier < 8; ++modifier)
        for (int k = 0; k < perModifier; ++k)
            if (codes[modifier * perModifier + k] == numLock)
                return static_cast<std::uint16_t>(1u << modifier);
    return 0;
}

std::uint8_t X11HotKeyBackend::keycodeOf(std::uint32_t keySym) const {
    xcb_keycode_t* keycodes = xcb_key_symbols_get_keycode(m_keySymbols, keySym);
    if (!keycodes)
        return 0;
    // The key that types the symbol without Shift, where the user looks for it: on a US layout
    // "<" is also the comma key's shifted symbol, and that key comes first.
    xcb_keycode_t chosen = keycodes[0];
    for (int i = 0; keycodes[i] != XCB_NO_SYMBOL; ++i)
        if (xcb_key_symbols_get_keysym(m_keySymbols, keycodes[i], 0) == keySym) {
            chosen = keycodes[i];
            break;
        }
    std::free(keycodes);
    return chosen == XCB_NO_SYMBOL ? 0 : chosen;
}

std::uint8_t X11HotKeyBackend::grabbedKey(Ref ref) const {
    auto it = m_grabs.find(ref);
    return it == m_grabs.end() ? 0 : it->second.keycode;
}

std::array<std::uint16_t, 4> X11HotKeyBackend::lockVariants() const {
    return {0, XCB_MOD_MASK_LOCK, m_numLockMask,
            static_cast<std::uint16_t>(XCB_MOD_MASK_LOCK | m_numLockMask)};
}

HotKeyBackend::Status X11HotKeyBackend::grab(const Grab& grab) {
    Status status = 0;
    for (std::uint16_t lock : lockVariants()) {
        auto cookie = xcb_grab_key_checked(m_connection, 1, m_root, grab.modifiers | lock,
                                           grab.keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        if (XcbReply<xcb_generic_error_t> error{xcb_request_check(m_connection, cookie)}) {
            if (error->error_code != kBadAccess) {
                status = eventHotKeyInvalidErr;
                break;
            }
            status = eventHotKeyExistsErr;
        }
    }
    if (status != 0) {
        ungrab(grab); // only this client's own grabs go; another client's stay untouched
        xcb_flush(m_connection);
    }
    return status;
}

void X11HotKeyBackend::ungrab(const Grab& grab) {
    if (grab.keycode == 0)
        return; // keycode 0 is AnyKey: ungrabbing it would drop every other grab too
    for (std::uint16_t lock : lockVariants())
        xcb_ungrab_key(m_connection, grab.keycode, m_root, grab.modifiers | lock);
}

HotKeyBackend::Status X11HotKeyBackend::registerEventHotKey(std::uint32_t keyCode,
                                                            std::uint32_t modifiers, HotKeyID id,
                                                            Ref& outRef) {
    outRef = 0;
    if (!m_connection)
        return eventHotKeyInvalidErr;
    // Waiting for the server's replies below may queue key events the socket will not announce.
    QMetaObject::invokeMethod(this, &X11HotKeyBackend::readEvents, Qt::QueuedConnection);
    const auto keySym = x11KeySym(keyCode);
    if (!keySym)
        return paramErr;
    Grab grab{*keySym, keycodeOf(*keySym), x11Modifiers(modifiers), id};
    if (grab.keycode == 0)
        return paramErr;
    // X lets one client grab a combination twice; Carbon refuses a second registration.
    for (const auto& [ref, existing] : m_grabs)
        if (existing.keycode == grab.keycode && existing.modifiers == grab.modifiers)
            return eventHotKeyExistsErr;
    if (const Status status = this->grab(grab); status != 0)
        return status;
    outRef = m_nextRef++;
    m_grabs[outRef] = grab;
    return 0;
}

HotKeyBackend::Status X11HotKeyBackend::unregisterEventHotKey(Ref ref) {
    auto it = m_grabs.find(ref);
    if (it == m_grabs.end() || !m_connection)
        return eventHotKeyInvalidErr;
    ungrab(it->second);
    xcb_flush(m_connection);
    m_grabs.erase(it);
    return 0;
}

void X11HotKeyBackend::readEvents() {
    if (!m_connection)
        return;
    bool mappingChanged = false;
    while (XcbReply<xcb_generic_event_t> event{xcb_poll_for_event(m_connection)}) {
        const std::uint8_t type = event->response_type & 0x7F;
        if (type == XCB_MAPPING_NOTIFY) {
            auto* mapping = reinterpret_cast<xcb_mapping_notify_event_t*>(event.get());
            xcb_refresh_keyboard_mapping(m_keySymbols, mapping);
            mappingChanged |= mapping->request != XCB_MAPPING_POINTER;
            continue;
        }
        if (m_xkbEvent != 0 && type == m_xkbEvent) {
            // Only keyboard and keymap changes were asked for: read the symbols afresh.
            xcb_key_symbols_free(m_keySymbols);
            m_keySymbols = xcb_key_symbols_alloc(m_connection);
            mappingChanged = true;
            continue;
        }
        if (type == XCB_KEY_RELEASE) {
            const auto* release = reinterpret_cast<const xcb_key_release_event_t*>(event.get());
            m_heldKeys.erase(release->detail);
            continue;
        }
        if (type != XCB_KEY_PRESS)
            continue;
        const auto* press = reinterpret_cast<const xcb_key_press_event_t*>(event.get());
        const std::uint16_t locks = XCB_MOD_MASK_LOCK | m_numLockMask;
        const std::uint16_t modifiers = press->state & ~locks & 0xFF;
        for (const auto& [ref, grab] : m_grabs) {
            if (grab.keycode == press->detail && grab.modifiers == modifiers) {
                if (!m_heldKeys.insert(press->detail).second)
                    break;                   // the key is held down: a repeat, not another press
                const HotKeyID id = grab.id; // the handler may unregister this very grab
                if (m_handler)
                    m_handler(id);
                break;
            }
        }
    }
    // A layout switch sends a burst of notifications: the grabs move once, after all of them.
    if (mappingChanged) {
        regrabAfterMappingChange();
        // Its waits on the server may have queued key events the socket will not announce.
        QMetaObject::invokeMethod(this, &X11HotKeyBackend::readEvents, Qt::QueuedConnection);
    }
    if (xcb_connection_has_error(m_connection))
        m_notifier->setEnabled(false); // the server went away; the keys are gone with it
}

void X11HotKeyBackend::regrabAfterMappingChange() {
    for (const auto& [ref, grab] : m_grabs)
        ungrab(grab);
    m_numLockMask = readNumLockMask();
    for (auto& [ref, grab] : m_grabs) {
        grab.keycode = keycodeOf(grab.keySym);
        // A key the new layout lacks, or one another client took meanwhile, stays registered
        // but silent until the next layout change brings it back.
        if (grab.keycode != 0 && this->grab(grab) != 0)
            grab.keycode = 0;
    }
    xcb_flush(m_connection);
}
