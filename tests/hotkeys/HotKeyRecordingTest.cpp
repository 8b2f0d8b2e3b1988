#include "HotKeyRecording.h"

#include <gtest/gtest.h>

namespace {
// Modifier flags as a key event carries them.
constexpr std::uint64_t command = 1u << 20, option = 1u << 19, control = 1u << 18, shift = 1u << 17,
                        capsLock = 1u << 16, deviceLeftCommand = 0x08;
constexpr std::uint16_t kA = 0x00, kSpace = 0x31, kEscape = 0x35, kControlKey = 0x3B;
} // namespace

TEST(HotKeyRecording, OnlyAPressWithCommandOptionOrControlIsTaken) {
    // Ignored: recording goes on.
    EXPECT_FALSE(recordedCombo({0, kA, "a"}));
    EXPECT_FALSE(recordedCombo({shift, kA, "a"}));
    EXPECT_FALSE(recordedCombo({0, kEscape, "\x1b"})) << "Escape does not cancel";
    EXPECT_FALSE(recordedCombo({control, kControlKey, std::nullopt})) << "a modifier on its own";

    const auto controlOptionSpace = recordedCombo({control | option, kSpace, " "});
    ASSERT_TRUE(controlOptionSpace);
    EXPECT_EQ(*controlOptionSpace, (HotKeyCombo{49, 0x1800, "⌃⌥Space"}));
    EXPECT_EQ(recordedCombo({command, kEscape, "\x1b"}), (HotKeyCombo{53, 0x0100, "⌘⎋"}));
    // Caps Lock and the device-dependent bits are dropped before the mask and the text are made.
    EXPECT_EQ(recordedCombo({command | shift | capsLock | deviceLeftCommand, kA, "a"}),
              (HotKeyCombo{0, 0x0300, "⇧⌘A"}));
}

TEST(HotKeyRecording, OptionAloneOrWithShiftIsWhatMacOS15Refuses) {
    EXPECT_TRUE(isOptionOnly(*recordedCombo({option, kSpace, " "})));
    EXPECT_TRUE(isOptionOnly(*recordedCombo({option | shift | capsLock, kA, "a"})));
    // With ⌘ or ⌃ beside it, ⌥ registers everywhere.
    EXPECT_FALSE(isOptionOnly(*recordedCombo({command | option, kA, "a"})));
    EXPECT_FALSE(isOptionOnly(*recordedCombo({control | option | shift, kA, "a"})));
}
