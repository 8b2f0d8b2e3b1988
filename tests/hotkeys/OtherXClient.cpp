#include "OtherXClient.h"

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

#include <cstdlib>

OtherXClient::OtherXClient(const QString& display)
    : m_connection(xcb_connect(display.toLatin1().constData(), nullptr)) {
    if (!xcb_connection_has_error(m_connection))
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
}

OtherXClient::~OtherXClient() {
    xcb_disconnect(m_connection);
}

bool OtherXClient::grab(std::uint32_t keySym, std::uint16_t modifiers) {
    if (!m_root)
        return false;
    auto* symbols = xcb_key_symbols_alloc(m_connection);
    xcb_keycode_t* codes = xcb_key_symbols_get_keycode(symbols, keySym);
    const xcb_keycode_t code = codes ? codes[0] : XCB_NO_SYMBOL;
    std::free(codes);
    xcb_key_symbols_free(symbols);
    auto* error = xcb_request_check(m_connection,
                                    xcb_grab_key_checked(m_connection, 1, m_root, modifiers, code,
                                                         XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    std::free(error);
    return code != XCB_NO_SYMBOL && error == nullptr;
}

int OtherXClient::keyPresses() {
    while (auto* event = xcb_poll_for_event(m_connection)) {
        m_presses += (event->response_type & 0x7F) == XCB_KEY_PRESS;
        std::free(event);
    }
    return m_presses;
}
