#include "X11HotKeyBackend.h"

#include "X11KeyMap.h"

#include <QSocketNotifier>

#define XK_MISCELLANY
#include <X11/keysymdef.h>
#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

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

    // Num Lock's modifier bit is whatever the server's modifier map says, not a constant.
    if (xcb_keycode_t* numLock = xcb_key_symbols_get_keycode(m_keySymbols, XK_Num_Lock)) {
        XcbReply<xcb_get_modifier_mapping_reply_t> mapping(xcb_get_modifier_mapping_reply(
            m_connection, xcb_get_modifier_mapping(m_connection), nullptr));
        if (mapping && numLock[0] != XCB_NO_SYMBOL) {
            const xcb_keycode_t* codes = xcb_get_modifier_mapping_keycodes(mapping.get());
            const int perModifier = mapping->keycodes_per_modifier;
            for (int modifier = 0; modifier < 8; ++modifier)
                for (int k = 0; k < perModifier; ++k)
                    if (codes[modifier * perModifier + k] == numLock[0])
                        m_numLockMask = static_cast<std::uint16_t>(1u << modifier);
        }
        std::free(numLock);
    }

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

std::array<std::uint16_t, 4> X11HotKeyBackend::lockVariants() const {
    return {0, XCB_MOD_MASK_LOCK, m_numLockMask,
            static_cast<std::uint16_t>(XCB_MOD_MASK_LOCK | m_numLockMask)};
}

void X11HotKeyBackend::ungrab(const Grab& grab) {
    for (std::uint16_t lock : lockVariants())
        xcb_ungrab_key(m_connection, grab.keycode, m_root, grab.modifiers | lock);
}

HotKeyBackend::Status X11HotKeyBackend::registerEventHotKey(std::uint32_t keyCode,
                                                            std::uint32_t modifiers, HotKeyID id,
                                                            Ref& outRef) {
    outRef = 0;
    if (!m_connection)
        return eventHotKeyInvalidErr;
    const auto keySym = x11KeySym(keyCode);
    if (!keySym)
        return paramErr;
    xcb_keycode_t* keycodes = xcb_key_symbols_get_keycode(m_keySymbols, *keySym);
    if (!keycodes)
        return paramErr;
    Grab grab{keycodes[0], x11Modifiers(modifiers), id};
    std::free(keycodes);
    if (grab.keycode == XCB_NO_SYMBOL)
        return paramErr;
    // X lets one client grab a combination twice; Carbon refuses a second registration.
    for (const auto& [ref, existing] : m_grabs)
        if (existing.keycode == grab.keycode && existing.modifiers == grab.modifiers)
            return eventHotKeyExistsErr;

    bool refused = false;
    for (std::uint16_t lock : lockVariants()) {
        auto cookie = xcb_grab_key_checked(m_connection, 1, m_root, grab.modifiers | lock,
                                           grab.keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        if (XcbReply<xcb_generic_error_t> error{xcb_request_check(m_connection, cookie)}) {
            refused = true;
            if (error->error_code != kBadAccess)
                break;
        }
    }
    if (refused) {
        ungrab(grab); // only this client's own grabs go; another client's stay untouched
        xcb_flush(m_connection);
        return eventHotKeyExistsErr;
    }
    outRef = m_nextRef++;
    m_grabs[outRef] = grab;
    // Waiting for the grab replies may have queued key events the socket will not announce.
    QMetaObject::invokeMethod(this, &X11HotKeyBackend::readEvents, Qt::QueuedConnection);
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
    while (XcbReply<xcb_generic_event_t> event{xcb_poll_for_event(m_connection)}) {
        const std::uint8_t type = event->response_type & 0x7F;
        if (type == XCB_MAPPING_NOTIFY) {
            // A new keyboard layout: later registrations look their keys up in the new one.
            xcb_refresh_keyboard_mapping(
                m_keySymbols, reinterpret_cast<xcb_mapping_notify_event_t*>(event.get()));
            continue;
        }
        if (type != XCB_KEY_PRESS)
            continue;
        const auto* press = reinterpret_cast<const xcb_key_press_event_t*>(event.get());
        const std::uint16_t locks = XCB_MOD_MASK_LOCK | m_numLockMask;
        const std::uint16_t modifiers = press->state & ~locks & 0xFF;
        for (const auto& [ref, grab] : m_grabs) {
            if (grab.keycode == press->detail && grab.modifiers == modifiers) {
                const HotKeyID id = grab.id; // the handler may unregister this very grab
                if (m_handler)
                    m_handler(id);
                break;
            }
        }
    }
    if (xcb_connection_has_error(m_connection))
        m_notifier->setEnabled(false); // the server went away; the keys are gone with it
}
