#pragma once

#include <cstdint>
#include <optional>
#include <string>

// The text shown for a recorded combination: the modifier symbols ⌃⌥⇧⌘, in that order, then the
// key's name. `mods` are the key event's modifier flags (NSEvent encoding), `keyCode` the macOS
// virtual key code, `chars` the key's characters ignoring modifiers, if the event had any.
std::string hotKeyDisplay(std::uint64_t mods, std::uint16_t keyCode,
                          const std::optional<std::string>& chars);

// The name of one key; never empty.
std::string keyName(std::uint16_t keyCode, const std::optional<std::string>& chars);
