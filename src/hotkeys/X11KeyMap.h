#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Stored combinations name keys and modifiers the macOS way, so a zone list is the same on every
// machine. These translate them for an X server with a standard PC keyboard.

// The X key symbol of a macOS virtual key code, absent for keys a PC keyboard lacks.
std::optional<std::uint32_t> x11KeySym(std::uint32_t macKeyCode);

// The macOS virtual key code of an X key symbol as the X11 backend grabs it back (the inverse of
// x11KeySym), absent for symbols no stored combination can name.
std::optional<std::uint16_t> macKeyCode(std::uint32_t keySym);

// The macOS key code of a key as the recorder sees it: the first of the key's symbols (those of
// its first group, without and with Shift) that a combination can name. The keypad's digits
// carry KP_End and the like first and KP_1 second; whatever modifiers are held do not matter.
std::optional<std::uint16_t> macKeyCodeOfKey(std::uint32_t unshifted, std::uint32_t shifted);

// The characters an X key symbol types, absent for symbols that type none (function keys).
std::optional<std::string> keySymText(std::uint32_t keySym);

// Every macOS key code that x11KeySym knows, ascending.
std::vector<std::uint32_t> grabbableMacKeyCodes();

// The X modifier mask of a Carbon mask: ⌘ is the Super key (Mod4), ⌥ is Alt (Mod1).
std::uint16_t x11Modifiers(std::uint32_t carbonMask);
