#include "AppModel.h"
#include "CarbonStandIn.h"
#include "CoreAudioStandIn.h"
#include "CoreAudioSystem.h"
#include "HotKeyCenter.h"

#include <QCoreApplication>
#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

// The application core as a user meets it through hot keys: zones from the settings, their keys
// registered, a press switching the sound. Core Audio and Carbon are the in-memory stand-ins.

using namespace coreaudio;

namespace {

constexpr std::uint32_t kCmdShift = 0x0300;

class AppModelTest : public testing::Test {
protected:
    void SetUp() override {
        auto backend = std::make_unique<CarbonStandIn>();
        carbon = backend.get();
        HotKeyCenter::shared().setBackend(std::move(backend));
        speakers = audio.plug({.uid = "speakers", .name = "Speakers"});
        usb = audio.plug(
            {.uid = "usb", .name = "USB DAC", .transport = kAudioDeviceTransportTypeUSB});
        audio.setDefaultOutput(speakers);
    }
    void TearDown() override { HotKeyCenter::shared().setBackend(nullptr); }

    // Zones saved by an earlier run.
    void save(std::vector<std::pair<std::string, std::optional<HotKeyCombo>>> zones) {
        ZoneStore store(&settings);
        for (auto& [name, combo] : zones) {
            store.add(name, {name == "Büro" ? "speakers" : "usb"});
            store.setHotKey(combo, store.zones().back());
        }
    }
    bool activeOn(const std::string& uid) {
        return !audio.creations().empty() && audio.defaultOutput() != speakers &&
               audio.defaultOutput() != usb &&
               std::get<std::string>(find(audio.creations().back(), "master")->value) == uid;
    }

    QTemporaryDir folder;
    QSettings settings{folder.filePath(QStringLiteral("brivello.conf")), QSettings::IniFormat};
    CoreAudioStandIn audio;
    CoreAudioSystem system{audio};
    CarbonStandIn* carbon = nullptr;
    ObjectID speakers = 0, usb = 0;
};

} // namespace

TEST_F(AppModelTest, SavedHotKeysAreLiveAtStartAndFollowEveryChangeOfTheZones) {
    save({{"Büro", HotKeyCombo{0, kCmdShift, "⇧⌘A"}},
          {"Flur", std::nullopt},
          {"Küche", HotKeyCombo{11, kCmdShift, "⇧⌘B"}}});
    AppModel model(system, &settings);
    EXPECT_EQ(carbon->registrationCount(), 2u);
    EXPECT_EQ(HotKeyCenter::shared().registeredIDs().size(), 2u);

    // A zone that gains a hot key: all are registered again, with fresh ids.
    const auto before = HotKeyCenter::shared().registeredIDs();
    model.zones().setHotKey(HotKeyCombo{1, kCmdShift, "⇧⌘S"}, model.zones().zones()[1]);
    const auto after = HotKeyCenter::shared().registeredIDs();
    ASSERT_EQ(after.size(), 3u);
    EXPECT_GT(after.front(), before.back());

    // A deleted zone's key is gone after the sync, and an event still under way does nothing.
    const HotKeyID stale{fourCharCode("BRVL"), after.back()};
    model.zones().remove(model.zones().zones()[2]);
    EXPECT_EQ(carbon->registrationCount(), 2u);
    EXPECT_FALSE(carbon->press(11, kCmdShift));
    EXPECT_EQ(carbon->send(stale), 0);
    EXPECT_FALSE(model.controller().isActive());
}

TEST_F(AppModelTest, AZonesHotKeyTogglesItAndAnotherZonesKeySwitchesOver) {
    save(
        {{"Büro", HotKeyCombo{0, kCmdShift, "⇧⌘A"}}, {"Küche", HotKeyCombo{11, kCmdShift, "⇧⌘B"}}});
    AppModel model(system, &settings);
    const Zone office = model.zones().zones()[0];
    const Zone kitchen = model.zones().zones()[1];

    carbon->press(0, kCmdShift);
    EXPECT_TRUE(model.controller().isActive());
    EXPECT_EQ(model.controller().activeZoneID(), office.id);
    EXPECT_TRUE(activeOn("speakers"));

    carbon->press(11, kCmdShift);
    EXPECT_EQ(model.controller().activeZoneID(), kitchen.id);
    EXPECT_TRUE(activeOn("usb"));

    carbon->press(11, kCmdShift);
    EXPECT_FALSE(model.controller().isActive());
    EXPECT_EQ(audio.defaultOutput(), speakers);

    // The action uses the zone as it is now, not as it was registered.
    model.zones().setDevices({"usb"}, office);
    carbon->press(0, kCmdShift);
    EXPECT_TRUE(activeOn("usb"));
}

TEST_F(AppModelTest, ARefusedHotKeyKeepsItsCombinationAndTheOtherZonesKeysWork) {
    carbon->takenElsewhere.insert({0, kCmdShift});
    save(
        {{"Büro", HotKeyCombo{0, kCmdShift, "⇧⌘A"}}, {"Küche", HotKeyCombo{11, kCmdShift, "⇧⌘B"}}});
    AppModel model(system, &settings);
    EXPECT_EQ(carbon->registrationCount(), 1u);
    EXPECT_TRUE(model.zones().zones()[0].hotKey);
    carbon->press(11, kCmdShift);
    EXPECT_TRUE(activeOn("usb"));
}

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    QCoreApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
