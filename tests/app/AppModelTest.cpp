#include "AppModel.h"
#include "CarbonStandIn.h"
#include "CoreAudioStandIn.h"
#include "CoreAudioSystem.h"
#include "HotKeyCenter.h"

#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

// The application core as a user meets it through hot keys, on the in-memory Core Audio and
// Carbon.
TEST(AppModel, SavedHotKeysAreLiveAtOnceFollowTheZonesAndActOnTheZoneAsItIsNow) {
    auto backend = std::make_unique<CarbonStandIn>();
    CarbonStandIn& carbon = *backend;
    HotKeyCenter::shared().setBackend(std::move(backend));
    CoreAudioStandIn audio;
    audio.setDefaultOutput(audio.plug({.uid = "speakers", .name = "Speakers"}));
    audio.plug({.uid = "usb", .name = "USB DAC"});
    CoreAudioSystem system(audio);
    QTemporaryDir folder;
    QSettings settings(folder.filePath(QStringLiteral("brivello.conf")), QSettings::IniFormat);
    {
        ZoneStore earlierRun(&settings);
        earlierRun.add("Büro", {"speakers"});
        earlierRun.add("Flur", {"usb"});
        earlierRun.add("Küche", {"usb"});
        earlierRun.setHotKey(HotKeyCombo{0, 0x0300, "⇧⌘A"}, earlierRun.zones()[0]);
        earlierRun.setHotKey(HotKeyCombo{11, 0x0300, "⇧⌘B"}, earlierRun.zones()[2]);
    }

    auto model = std::make_unique<AppModel>(system, &settings);
    EXPECT_EQ(carbon.registrationCount(), 2u) << "registered before construction ends";
    ZoneStore& zones = model->zones();
    const Zone office = zones.zones()[0];
    zones.setHotKey(HotKeyCombo{1, 0x0300, "⇧⌘S"}, zones.zones()[1]);
    EXPECT_EQ(carbon.registrationCount(), 3u);
    zones.remove(zones.zones()[2]);
    EXPECT_EQ(carbon.registrationCount(), 2u);

    // The zone as it is when the key is pressed, not as it was registered.
    zones.setDevices({"usb"}, office);
    carbon.press(0, 0x0300);
    EXPECT_EQ(model->controller().activeZoneID(), office.id);
    EXPECT_EQ(model->controller().selectedUIDs(), std::vector<std::string>{"usb"});

    // A press that arrives after the model is gone does nothing.
    model.reset();
    carbon.press(0, 0x0300);
}

TEST(AppModel, AHotKeySomethingElseHoldsStaysWithItsZoneAndIsReportedWhileTheOthersWork) {
    auto backend = std::make_unique<CarbonStandIn>();
    CarbonStandIn& carbon = *backend;
    HotKeyCenter::shared().setBackend(std::move(backend));
    carbon.takenElsewhere.insert({49, 0x1800});
    CoreAudioStandIn audio;
    audio.setDefaultOutput(audio.plug({.uid = "speakers", .name = "Speakers"}));
    CoreAudioSystem system(audio);
    QTemporaryDir folder;
    QSettings settings(folder.filePath(QStringLiteral("brivello.conf")), QSettings::IniFormat);
    AppModel model(system, &settings);
    int reports = 0;
    QObject::connect(&model, &AppModel::takenHotKeysChanged, [&reports] { ++reports; });

    ZoneStore& zones = model.zones();
    zones.add("Büro", {"speakers"});
    zones.add("Küche", {"speakers"});
    zones.add("Flur", {"speakers"});
    zones.setHotKey(HotKeyCombo{49, 0x1800, "⌃⌥Space"}, zones.zones()[0]);
    zones.setHotKey(HotKeyCombo{11, 0x1800, "⌃⌥B"}, zones.zones()[1]);
    // The same combination as Küche: Brivello's own, so not reported as held elsewhere.
    zones.setHotKey(HotKeyCombo{11, 0x1800, "⌃⌥B"}, zones.zones()[2]);
    EXPECT_EQ(model.zonesWithTakenHotKey(), std::set<QUuid>{zones.zones()[0].id});
    EXPECT_EQ(reports, 1) << "once, when it became true";
    EXPECT_TRUE(zones.zones()[0].hotKey) << "the zone keeps its combination";
    carbon.press(11, 0x1800);
    EXPECT_EQ(model.controller().activeZoneID(), zones.zones()[1].id);

    zones.setHotKey(std::nullopt, zones.zones()[0]);
    EXPECT_TRUE(model.zonesWithTakenHotKey().empty());
    EXPECT_EQ(reports, 2);
}
