#pragma once

#include <cstdint>
#include <string>

// A global hot key as stored with a zone. The same on every platform: `keyCode` is the macOS
// virtual key code and `modifiers` the Carbon modifier mask, so a zone list moves between
// machines unchanged.
struct HotKeyCombo {
    std::uint32_t keyCode = 0;
    std::uint32_t modifiers =
        0;               // cmdKey 0x0100, shiftKey 0x0200, optionKey 0x0800, controlKey 0x1000
    std::string display; // shown as stored, never rebuilt from the other two

    bool operator==(const HotKeyCombo&) const = default;
};
