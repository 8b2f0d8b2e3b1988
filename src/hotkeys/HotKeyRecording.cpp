#include "HotKeyRecording.h"

#include "HotKeyCenter.h"
#include "KeyNames.h"

namespace {

constexpr std::uint64_t kCommandFlag = 1u << 20;
constexpr std::uint64_t kOptionFlag = 1u << 19;
constexpr std::uint64_t kControlFlag = 1u << 18;
constexpr std::uint64_t kDeviceIndependentFlags = 0xFFFF0000u;

// ⌘, ⇧, ⇪, ⌥, ⌃ (left and right) and fn. macOS reports them as flags changing, never as a key
// going down, but a toolkit may turn them into key presses of their own.
bool isModifierKey(std::uint16_t keyCode) {
    return keyCode >= 0x36 && keyCode <= 0x3F;
}

} // namespace

std::optional<HotKeyCombo> recordedCombo(const RecordedKeyPress& press) {
    if (!(press.flags & (kCommandFlag | kOptionFlag | kControlFlag)) ||
        isModifierKey(press.keyCode))
        return std::nullopt;
    const std::uint64_t flags = press.flags & kDeviceIndependentFlags;
    return HotKeyCombo{press.keyCode, carbonModifiers(flags),
                       hotKeyDisplay(flags, press.keyCode, press.chars)};
}

bool isOptionOnly(const HotKeyCombo& combo) {
    constexpr std::uint32_t cmdKey = 0x0100, optionKey = 0x0800, controlKey = 0x1000;
    return (combo.modifiers & optionKey) && !(combo.modifiers & (cmdKey | controlKey));
}
