#include "HotKeyCenter.h"
#include "CarbonStandIn.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace {

constexpr std::uint32_t kCmdShift = 0x0300;
constexpr std::uint32_t kControlOption = 0x1800;

struct Center {
    Center() {
        auto backend = std::make_unique<CarbonStandIn>();
        carbon = backend.get();
        center = std::make_unique<HotKeyCenter>(std::move(backend));
    }
    CarbonStandIn* carbon;
    std::unique_ptr<HotKeyCenter> center;
};

} // namespace

TEST(HotKeyCenter, ResyncsKeepOneHandlerAndIdsThatOnlyGrow) {
    Center c;
    std::vector<int> pressed;
    for (std::uint32_t key : {0u, 1u, 2u})
        c.center->registerHotKey({key, kCmdShift, "x"},
                                 [&pressed, key] { pressed.push_back(key); });
    EXPECT_EQ(c.center->registeredIDs(), (std::vector<std::uint32_t>{1, 2, 3}));
    EXPECT_EQ(c.carbon->press(1, kCmdShift), 0);
    EXPECT_EQ(pressed, std::vector<int>{1});

    // A re-sync: everything goes, the next registration gets a fresh id.
    c.center->unregisterAll();
    EXPECT_EQ(c.carbon->registrationCount(), 0u);
    EXPECT_FALSE(c.carbon->press(1, kCmdShift));
    c.center->registerHotKey({5, kControlOption, "⌃⌥G"}, [&pressed] { pressed.push_back(5); });
    EXPECT_EQ(c.center->registeredIDs(), std::vector<std::uint32_t>{4});
    EXPECT_EQ(c.carbon->installations, 1);

    // An event for an id that was just unregistered is consumed and does nothing.
    EXPECT_EQ(c.carbon->send({fourCharCode("BRVL"), 2}), 0);
    EXPECT_EQ(c.carbon->send({0, 0}), 0);
    EXPECT_EQ(c.carbon->press(5, kControlOption), 0);
    EXPECT_EQ(pressed, (std::vector<int>{1, 5}));
    c.center->unregisterAll();
    c.center->unregisterAll(); // nothing left: nothing happens
    EXPECT_EQ(c.carbon->installations, 1);

    // A handler the platform would not take is not tried again; the keys stay registered.
    Center failing;
    failing.carbon->installStatus = -50; // paramErr
    failing.center->registerHotKey({0, kCmdShift, "⇧⌘A"}, [] { FAIL(); });
    failing.center->unregisterAll();
    failing.center->registerHotKey({1, kCmdShift, "⇧⌘S"}, [] { FAIL(); });
    EXPECT_EQ(failing.carbon->installations, 1);
    EXPECT_EQ(failing.center->registeredIDs(), std::vector<std::uint32_t>{2});
    EXPECT_FALSE(failing.carbon->press(1, kCmdShift));
}

TEST(HotKeyCenter, ARefusedCombinationUsesUpItsIdAndLeavesTheOthersWorking) {
    Center c;
    c.carbon->takenElsewhere.insert({49, kControlOption});
    int office = 0, kitchen = 0;
    c.center->registerHotKey({0, kCmdShift, "⇧⌘A"}, [&office] { ++office; });
    c.center->registerHotKey({49, kControlOption, "⌃⌥Space"}, [] { FAIL(); });
    c.center->registerHotKey({0, kCmdShift, "⇧⌘A"}, [] { FAIL(); }); // taken by zone one
    c.center->registerHotKey({11, kCmdShift, "⇧⌘B"}, [&kitchen] { ++kitchen; });
    EXPECT_EQ(c.center->registeredIDs(), (std::vector<std::uint32_t>{1, 4}));

    c.carbon->press(0, kCmdShift);
    c.carbon->press(11, kCmdShift);
    // A refused id keeps no action: an event carrying it (BRVL, 2) runs nothing.
    c.carbon->send({fourCharCode("BRVL"), 2});
    c.carbon->send({fourCharCode("BRVL"), 3});
    EXPECT_EQ(office, 1);
    EXPECT_EQ(kitchen, 1);

    // An action that re-syncs the registrations while it runs is safe.
    c.center->unregisterAll();
    c.center->registerHotKey({0, kCmdShift, "⇧⌘A"}, [&c] { c.center->unregisterAll(); });
    EXPECT_EQ(c.carbon->press(0, kCmdShift), 0);
    EXPECT_TRUE(c.center->registeredIDs().empty());

    // Without a platform backend nothing registers, and nothing breaks.
    HotKeyCenter bare;
    bare.registerHotKey({0, kCmdShift, "⇧⌘A"}, [] {});
    EXPECT_TRUE(bare.registeredIDs().empty());
}

TEST(HotKeyCenter, ModifierFlagsBecomeTheCarbonMaskAndSignaturesPackBigEndian) {
    constexpr std::uint64_t command = 1u << 20, option = 1u << 19, control = 1u << 18,
                            shift = 1u << 17, capsLock = 1u << 16, function = 1u << 23;
    EXPECT_EQ(carbonModifiers(command | shift), 0x0300u);
    EXPECT_EQ(carbonModifiers(control | option), 0x1800u);
    EXPECT_EQ(carbonModifiers(command | option | control | shift | capsLock | function), 0x1B00u);
    EXPECT_EQ(carbonModifiers(capsLock), 0u);
    EXPECT_EQ(carbonModifiers(0), 0u);

    EXPECT_EQ(fourCharCode("BRVL"), 0x4252564Cu);
    EXPECT_EQ(fourCharCode("ab"), 0x6162u);
    EXPECT_EQ(fourCharCode("BRVLX"), 0x4252564Cu);
    EXPECT_EQ(fourCharCode(""), 0u);
}
