#pragma once

#include "HotKeyCombo.h"

#include <cstdint>
#include <optional>
#include <string>

// A key press while a hot key is being recorded, in the terms a combination is stored in, so the
// rules below are the same on every platform.
struct RecordedKeyPress {
    std::uint64_t flags = 0;          // modifier flags, NSEvent encoding
    std::uint16_t keyCode = 0;        // macOS virtual key code
    std::optional<std::string> chars; // the key's characters ignoring modifiers, if any
};

// The combination a key press makes, or none when the press is ignored and recording goes on:
// without ⌘, ⌥ or ⌃ (Shift alone or no modifier, Escape included) or when only a modifier key
// itself went down. Every press while recording is swallowed either way.
std::optional<HotKeyCombo> recordedCombo(const RecordedKeyPress& press);

// Whether the combination's only modifiers are ⌥, or ⌥ and ⇧: macOS 15 refuses to register those.
bool isOptionOnly(const HotKeyCombo& combo);
