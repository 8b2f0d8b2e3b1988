#pragma once

#include <cstdint>
#include <optional>

// Stored combinations name keys and modifiers the macOS way, so a zone list is the same on every
// machine. These translate them for an X server with a standard PC keyboard.

// The X key symbol of a macOS virtual key code, absent for keys a PC keyboard lacks.
std::optional<std::uint32_t> x11KeySym(std::uint32_t macKeyCode);

// The X modifier mask of a Carbon mask: ⌘ is the Super key (Mod4), ⌥ is Alt (Mod1).
std::uint16_t x11Modifiers(std::uint32_t carbonMask);
