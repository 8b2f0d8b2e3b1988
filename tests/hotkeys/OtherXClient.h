#pragma once

#include <QString>

#include <cstdint>

struct xcb_connection_t;

// Another X client holding a key combination first, as another application's shortcut would.
class OtherXClient {
public:
    explicit OtherXClient(const QString& display);
    ~OtherXClient();
    OtherXClient(const OtherXClient&) = delete;
    OtherXClient& operator=(const OtherXClient&) = delete;

    // Grabs the key of `keySym` with exactly these X modifiers on the root window.
    bool grab(std::uint32_t keySym, std::uint16_t modifiers);
    // Swaps the symbols of the keys carrying `first` and `second`, as a switch to another
    // keyboard layout moves symbols to other keys.
    bool swapKeys(std::uint32_t first, std::uint32_t second);
    // Key presses this client has received so far.
    int keyPresses();

private:
    xcb_connection_t* m_connection;
    std::uint32_t m_root = 0;
    int m_presses = 0;
};
