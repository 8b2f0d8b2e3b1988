#include "ZoneStore.h"
#include "ZoneCoding.h"

#include <QCoreApplication>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

namespace {

// Every store here writes to a settings file in a private temporary folder.
class ZoneStoreTest : public testing::Test {
protected:
    std::unique_ptr<QSettings> settings() {
        return std::make_unique<QSettings>(folder.filePath(QStringLiteral("brivello.conf")),
                                           QSettings::IniFormat);
    }
    QByteArray stored() { return settings()->value(QLatin1String(ZoneStore::key)).toByteArray(); }
    void store(const QByteArray& bytes) {
        settings()->setValue(QLatin1String(ZoneStore::key), bytes);
    }

    QTemporaryDir folder;
};

const QByteArray kOffice = R"({"id":"E621E1F8-C36C-495A-93FC-0C247A3E6E5F","name":"Büro",)"
                           R"("deviceUIDs":["BuiltInSpeakerDevice","usb-dac"]})";

} // namespace

TEST_F(ZoneStoreTest, StoresEveryChangeAsTheWholeListAndAnnouncesItOnceAfterwards) {
    auto file = settings();
    ZoneStore zones(file.get());
    int announcements = 0;
    bool announcedBeforeStored = false;
    QObject::connect(&zones, &ZoneStore::zonesChanged, [&] {
        ++announcements;
        announcedBeforeStored |= decodeZones(stored().toStdString()) != zones.zones();
    });
    EXPECT_TRUE(zones.zones().empty());
    EXPECT_FALSE(file->contains(QLatin1String(ZoneStore::key))) << "nothing written until a change";

    // Same name and devices twice: two zones, new ones at the end.
    zones.add("Büro", {"a", "b"});
    ASSERT_EQ(zones.zones().size(), 1u);
    const Zone first = zones.zones()[0];
    zones.add("Büro", {"a", "b"});
    ASSERT_EQ(zones.zones().size(), 2u);
    EXPECT_EQ(zones.zones()[0].id, first.id);
    const Zone second = zones.zones()[1];
    EXPECT_NE(second.id, first.id);
    EXPECT_EQ(second.name, "Büro");
    EXPECT_EQ(second.deviceUIDs, (std::vector<std::string>{"a", "b"}));
    EXPECT_FALSE(second.hotKey);

    const HotKeyCombo combo{0, 0x0300, "⇧⌘A"};
    zones.setHotKey(combo, first);
    zones.setHotKey(combo, second); // the same combination on two zones is allowed
    zones.rename(second, "");
    zones.setDevices({"c"}, first);
    EXPECT_EQ(announcements, 6);
    EXPECT_FALSE(announcedBeforeStored);
    EXPECT_EQ(zones.zones()[0].hotKey, combo);
    EXPECT_EQ(zones.zones()[1].hotKey, combo);
    EXPECT_EQ(zones.zones()[1].name, "");
    EXPECT_EQ(zones.zones()[0].deviceUIDs, std::vector<std::string>{"c"});

    zones.remove(first);
    ASSERT_EQ(zones.zones().size(), 1u);
    EXPECT_EQ(zones.zones()[0].id, second.id);
    EXPECT_EQ(announcements, 7);

    // A new store reads back exactly what the last change left.
    auto again = settings();
    ZoneStore reopened(again.get());
    EXPECT_EQ(reopened.zones(), zones.zones());
}

TEST_F(ZoneStoreTest, WritesTheStoredFormWithAndWithoutAHotKey) {
    // Written elsewhere with a lowercase id; the store writes it back in its own form.
    store(R"([{"id":"e621e1f8-c36c-495a-93fc-0c247a3e6e5f","name":"Büro",)"
          R"("deviceUIDs":["BuiltInSpeakerDevice","usb-dac"],"hotKey":null}])");
    auto file = settings();
    ZoneStore zones(file.get());
    ASSERT_EQ(zones.zones().size(), 1u);
    const Zone office = zones.zones()[0];

    zones.setHotKey(HotKeyCombo{0, 0x0300, "⇧⌘A"}, office);
    EXPECT_EQ(stored(), R"([{"id":"E621E1F8-C36C-495A-93FC-0C247A3E6E5F","name":"Büro",)"
                        R"("deviceUIDs":["BuiltInSpeakerDevice","usb-dac"],)"
                        R"("hotKey":{"keyCode":0,"modifiers":768,"display":"⇧⌘A"}}])");

    zones.setHotKey(std::nullopt, office);
    EXPECT_EQ(stored(), "[" + kOffice + "]");
}

TEST_F(ZoneStoreTest, UnknownZonesChangeNothingButRemoveStillWritesTheList) {
    store("[" + kOffice + "]");
    auto file = settings();
    ZoneStore zones(file.get());
    ASSERT_EQ(zones.zones().size(), 1u);
    int announcements = 0;
    QObject::connect(&zones, &ZoneStore::zonesChanged, [&announcements] { ++announcements; });

    // Clearing the value shows whether anything was written.
    file->remove(QLatin1String(ZoneStore::key));
    const Zone stranger = Zone::make("Fremd", {"x"});
    zones.rename(stranger, "y");
    zones.setDevices({"y"}, stranger);
    zones.setHotKey(HotKeyCombo{1, 0x0100, "⌘S"}, stranger);
    EXPECT_EQ(announcements, 0);
    EXPECT_FALSE(file->contains(QLatin1String(ZoneStore::key)));
    ASSERT_EQ(zones.zones().size(), 1u);
    EXPECT_EQ(zones.zones()[0].name, "Büro");

    zones.remove(stranger);
    EXPECT_EQ(announcements, 1);
    EXPECT_EQ(stored(), "[" + kOffice + "]");
}

TEST_F(ZoneStoreTest, ADamagedValueReadsEmptyAndSurvivesUntilTheNextChange) {
    const QByteArray oneBadUuid =
        "[" + kOffice + R"(,{"id":"not-a-uuid","name":"bad","deviceUIDs":[]}])";
    for (const QByteArray& damaged : {QByteArray("{not json"), oneBadUuid}) {
        store(damaged);
        auto file = settings();
        ZoneStore zones(file.get());
        EXPECT_TRUE(zones.zones().empty());
        EXPECT_EQ(stored(), damaged) << "loading never rewrites what it cannot read";

        zones.add("Neu", {"a"});
        const auto now = decodeZones(stored().toStdString());
        ASSERT_TRUE(now);
        ASSERT_EQ(now->size(), 1u);
        EXPECT_EQ((*now)[0].name, "Neu");
    }
}

TEST(ZoneStoreDefaultSettings, WithoutSettingsTheApplicationsOwnConfigurationIsUsed) {
#ifdef __APPLE__
    GTEST_SKIP() << "the user defaults of macOS have no private location to point at";
#endif
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.path()));
    QCoreApplication::setOrganizationName(QStringLiteral("tandrel"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("tandrel.de"));
    QCoreApplication::setApplicationName(QStringLiteral("brivello"));
    const QString expected = home.filePath(QStringLiteral("tandrel/brivello.conf"));
    // Guards the user's real settings: stop here unless the default location is the private one.
    ASSERT_EQ(QSettings().fileName(), expected);

    {
        ZoneStore zones;
        zones.add("Büro", {"a"});
    }
    QSettings file(expected, QSettings::IniFormat);
    const QByteArray bytes = file.value(QLatin1String(ZoneStore::key)).toByteArray();
    const auto read = decodeZones(bytes.toStdString());
    ASSERT_TRUE(read);
    ASSERT_EQ(read->size(), 1u);
    EXPECT_EQ((*read)[0].name, "Büro");
}
