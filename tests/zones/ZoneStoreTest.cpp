#include "ZoneStore.h"
#include "ZoneCoding.h"

#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

// Every store here writes to a settings file in a private temporary folder.
class ZoneStoreTest : public testing::Test {
protected:
    QByteArray stored() { return settings.value(QLatin1String(ZoneStore::key)).toByteArray(); }

    QTemporaryDir folder;
    QSettings settings{folder.filePath(QStringLiteral("brivello.conf")), QSettings::IniFormat};
};

} // namespace

TEST_F(ZoneStoreTest, EveryChangeIsStoredAndThenAnnounced) {
    ZoneStore zones(&settings);
    int announcements = 0;
    QObject::connect(&zones, &ZoneStore::zonesChanged, [&] {
        ++announcements;
        EXPECT_EQ(decodeZones(stored().toStdString()), zones.zones()) << "stored first";
    });
    zones.add("Büro", {"a", "b"});
    zones.add("Küche", {"c"});
    const Zone office = zones.zones()[0];
    const HotKeyCombo combo{0, 0x0300, "⇧⌘A"};
    zones.setHotKey(combo, office);
    zones.rename(office, "Flur");
    zones.setDevices({"d"}, office);
    zones.remove(zones.zones()[1]);
    EXPECT_EQ(announcements, 6);
    EXPECT_EQ(zones.zones(), (std::vector<Zone>{{office.id, "Flur", {"d"}, combo}}));

    ZoneStore reopened(&settings);
    EXPECT_EQ(reopened.zones(), zones.zones());
}

TEST_F(ZoneStoreTest, ADamagedValueReadsEmptyAndSurvivesUntilTheNextChange) {
    const QByteArray oneBadUuid =
        R"([{"id":"E621E1F8-C36C-495A-93FC-0C247A3E6E5F","name":"Büro","deviceUIDs":[]},)"
        R"({"id":"not-a-uuid","name":"bad","deviceUIDs":[]}])";
    for (const QByteArray& damaged : {QByteArray("{not json"), oneBadUuid}) {
        settings.setValue(QLatin1String(ZoneStore::key), damaged);
        ZoneStore zones(&settings);
        EXPECT_TRUE(zones.zones().empty());
        EXPECT_EQ(stored(), damaged);
        zones.add("Neu", {"a"});
        EXPECT_EQ(decodeZones(stored().toStdString()), zones.zones());
    }
}
