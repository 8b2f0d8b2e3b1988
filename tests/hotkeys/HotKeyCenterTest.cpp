#include "HotKeyCenter.h"
#include "CarbonStandIn.h"
#include "KeyNames.h"

#include <gtest/gtest.h>

#include <vector>

namespace {
constexpr std::uint32_t kCmdShift = 0x0300;
// Modifier flags as a key event carries them.
constexpr std::uint64_t command = 1u << 20, option = 1u << 19, control = 1u << 18, shift = 1u << 17,
                        capsLock = 1u << 16;
} // namespace

TEST(HotKeyCenter, ResyncsKeepOneHandlerIdsOnlyGrowAndARefusalLeavesNothing) {
    auto backend = std::make_unique<CarbonStandIn>();
    CarbonStandIn& carbon = *backend;
    HotKeyCenter center(std::move(backend));
    std::vector<std::uint32_t> pressed;
    auto registerKey = [&](std::uint32_t key) {
        return center.registerHotKey({key, kCmdShift, "x"},
                                     [&pressed, key] { pressed.push_back(key); });
    };
    for (std::uint32_t key : {0u, 1u, 2u})
        registerKey(key);
    center.unregisterAll();
    EXPECT_EQ(registerKey(5), 0);
    EXPECT_EQ(center.registeredIDs(), std::vector<std::uint32_t>{4});

    // Refused, and said so: id 5 is used up, and neither an entry nor its action stays behind.
    carbon.takenElsewhere.insert({49, kCmdShift});
    EXPECT_EQ(registerKey(49), HotKeyBackend::eventHotKeyExistsErr);
    EXPECT_EQ(center.registeredIDs(), std::vector<std::uint32_t>{4});
    // Only Brivello's live hot keys are consumed; the others pass on to the next handler.
    EXPECT_EQ(carbon.send({fourCharCode("BRVL"), 5}), HotKeyBackend::kNotHandled);
    EXPECT_EQ(carbon.send({fourCharCode("XMPL"), 4}), HotKeyBackend::kNotHandled);
    carbon.press(1, kCmdShift);
    carbon.press(5, kCmdShift);
    EXPECT_EQ(pressed, std::vector<std::uint32_t>{5});
    EXPECT_EQ(carbon.send({fourCharCode("BRVL"), 4}), 0);
    EXPECT_EQ(carbon.registrationCount(), 1u);
    EXPECT_EQ(carbon.installations, 1);
}

TEST(HotKeyCenter, ModifierFlagsBecomeTheCarbonMaskAndSignaturesPackBigEndian) {
    EXPECT_EQ(carbonModifiers(command | shift), 0x0300u);
    EXPECT_EQ(carbonModifiers(capsLock), 0u);
    EXPECT_EQ(fourCharCode("ab"), 0x6162u);
}

TEST(KeyNames, ModifiersComeInTheFixedOrderAndEveryKeyHasAName) {
    EXPECT_EQ(hotKeyDisplay(control | option, 49, " "), "⌃⌥Space");
    EXPECT_EQ(hotKeyDisplay(command | shift, 123, "\xEF\x9C\x82"), "⇧⌘←");
    EXPECT_EQ(hotKeyDisplay(command | shift | option | control, 126, std::nullopt), "⌃⌥⇧⌘↑");
    EXPECT_EQ(hotKeyDisplay(command, 36, "\r"), hotKeyDisplay(command, 76, "\x03"));
    for (std::uint16_t code = 0; code < 128; ++code)
        for (const auto& chars : {std::optional<std::string>{}, std::optional<std::string>{"\x10"}})
            EXPECT_FALSE(keyName(code, chars).empty()) << code;
}
