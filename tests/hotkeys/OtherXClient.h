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
    // Key presses this client has received so far.
    int keyPresses();

private:
    xcb_connection_t* m_connection;
    std::uint32_t m_root = 0;
    int m_presses = 0;
};
