#include "OtherXClient.h"

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

#include <cstdlib>
#include <vector>

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

bool OtherXClient::swapKeys(std::uint32_t first, std::uint32_t second) {
    if (!m_root)
        return false;
    const xcb_setup_t* setup = xcb_get_setup(m_connection);
    const std::uint8_t count = setup->max_keycode - setup->min_keycode + 1;
    auto* reply = xcb_get_keyboard_mapping_reply(
        m_connection, xcb_get_keyboard_mapping(m_connection, setup->min_keycode, count), nullptr);
    if (!reply)
        return false;
    const int perKey = reply->keysyms_per_keycode;
    const xcb_keysym_t* symbols = xcb_get_keyboard_mapping_keysyms(reply);
    std::vector<xcb_keysym_t> table(symbols, symbols + count * perKey);
    std::free(reply);

    int firstRow = -1, secondRow = -1;
    for (int row = 0; row < count; ++row) {
        if (firstRow < 0 && table[row * perKey] == first)
            firstRow = row;
        if (secondRow < 0 && table[row * perKey] == second)
            secondRow = row;
    }
    if (firstRow < 0 || secondRow < 0)
        return false;
    for (int column = 0; column < perKey; ++column)
        std::swap(table[firstRow * perKey + column], table[secondRow * perKey + column]);
    for (int row : {firstRow, secondRow}) {
        auto* error = xcb_request_check(
            m_connection, xcb_change_keyboard_mapping_checked(
                              m_connection, 1, static_cast<xcb_keycode_t>(setup->min_keycode + row),
                              static_cast<std::uint8_t>(perKey), &table[row * perKey]));
        std::free(error);
        if (error)
            return false;
    }
    return true;
}
