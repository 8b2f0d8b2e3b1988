#include "ZoneStore.h"
#include "ZoneCoding.h"

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

} // namespace

TEST_F(ZoneStoreTest, EveryChangeIsStoredAsTheWholeListAndAnnouncedOnce) {
    auto file = settings();
    ZoneStore zones(file.get());
    int announcements = 0;
    QObject::connect(&zones, &ZoneStore::zonesChanged, [&announcements] { ++announcements; });
    EXPECT_TRUE(zones.zones().empty());
    EXPECT_FALSE(file->contains(QLatin1String(ZoneStore::key))) << "nothing written until a change";

    zones.add("Büro", {"a", "b"});
    zones.add("Büro", {"a", "b"});
    ASSERT_EQ(zones.zones().size(), 2u);
    EXPECT_NE(zones.zones()[0].id, zones.zones()[1].id);
    const Zone first = zones.zones()[0];
    const Zone second = zones.zones()[1];

    const HotKeyCombo combo{0, 0x0300, "⇧⌘A"};
    zones.setHotKey(combo, first);
    zones.setHotKey(combo, second); // the same combination on two zones is allowed
    zones.rename(second, "");
    zones.setDevices({"c"}, first);
    EXPECT_EQ(announcements, 6);
    EXPECT_EQ(decodeZones(stored().toStdString()), zones.zones());
    EXPECT_EQ(zones.zones()[1].name, "");

    // Clearing a hot key drops the member from the stored JSON.
    zones.setHotKey(std::nullopt, first);
    EXPECT_EQ(stored().count("\"hotKey\""), 1);

    // Unknown zones: rename and friends do nothing at all; remove still writes the list back.
    const Zone stranger = Zone::make("Fremd", {});
    file->remove(QLatin1String(ZoneStore::key));
    zones.rename(stranger, "x");
    zones.setHotKey(combo, stranger);
    EXPECT_EQ(announcements, 7);
    EXPECT_FALSE(file->contains(QLatin1String(ZoneStore::key)));
    zones.remove(stranger);
    EXPECT_EQ(announcements, 8);
    EXPECT_EQ(decodeZones(stored().toStdString()), zones.zones());

    zones.remove(first);
    ASSERT_EQ(zones.zones().size(), 1u);
    EXPECT_EQ(zones.zones()[0].id, second.id);

    // A new store reads back exactly what the last change left.
    ZoneStore reopened(settings().get());
    EXPECT_EQ(reopened.zones(), zones.zones());
}

TEST_F(ZoneStoreTest, ADamagedValueReadsEmptyAndSurvivesUntilTheNextChange) {
    const QByteArray oneBadUuid =
        R"([{"id":"E621E1F8-C36C-495A-93FC-0C247A3E6E5F","name":"ok","deviceUIDs":[]},)"
        R"({"id":"not-a-uuid","name":"bad","deviceUIDs":[]}])";
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
