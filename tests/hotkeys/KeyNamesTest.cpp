#include "KeyNames.h"

#include <gtest/gtest.h>

namespace {
constexpr std::uint64_t command = 1u << 20, option = 1u << 19, control = 1u << 18, shift = 1u << 17,
                        capsLock = 1u << 16;
}

TEST(KeyNames, ModifiersComeInTheFixedOrderBeforeTheKey) {
    EXPECT_EQ(hotKeyDisplay(control | option, 49, " "), "⌃⌥Space");
    EXPECT_EQ(hotKeyDisplay(command | shift, 123, "\xEF\x9C\x82"), "⇧⌘←");
    EXPECT_EQ(hotKeyDisplay(command | shift | option | control, 126, std::nullopt), "⌃⌥⇧⌘↑");
    EXPECT_EQ(hotKeyDisplay(command | capsLock, 0, "a"), "⌘A");
    EXPECT_EQ(hotKeyDisplay(0, 49, " "), "Space");
    EXPECT_EQ(hotKeyDisplay(command, 36, "\r"), hotKeyDisplay(command, 76, "\x03"));
}

TEST(KeyNames, EveryKeyHasAReadableNameWhateverTheEventCarries) {
    // Letters follow the layout's characters, upper-cased; without characters the US name.
    EXPECT_EQ(keyName(0x06, "y"), "Y"); // German layout: the key labelled Z on a US board
    EXPECT_EQ(keyName(0x06, std::nullopt), "Z");
    EXPECT_EQ(keyName(0x29, "ö"), "Ö");
    EXPECT_EQ(keyName(0x1B, "ß"), "ß");
    EXPECT_EQ(keyName(0x12, "1"), "1");
    // Keys whose characters are invisible or private get names of their own.
    EXPECT_EQ(keyName(0x75, "\x7F"), "⌦");
    EXPECT_EQ(keyName(0x33, "\x08"), "⌫");
    EXPECT_EQ(keyName(0x74, "\xEF\x9C\xAC"), "⇞");
    EXPECT_EQ(keyName(0x7A, "\xEF\x9C\x84"), "F1");
    EXPECT_EQ(keyName(0x5A, std::nullopt), "F20");
    EXPECT_EQ(keyName(0x57, "5"), "Keypad 5");
    for (int code = 0; code < 128; ++code) {
        for (const auto& chars : {std::optional<std::string>{}, std::optional<std::string>{""},
                                  std::optional<std::string>{"\x10"}}) {
            EXPECT_FALSE(keyName(static_cast<std::uint16_t>(code), chars).empty()) << code;
        }
    }
}
