#include "ZoneListModel.h"
#include "WindowFixture.h"

#include <QAbstractItemModelTester>
#include <QCoreApplication>
#include <QSignalSpy>

#include <gtest/gtest.h>

// The zones as the window's rows: keyed by zone id, following the store, the controller and the
// hot keys with the smallest change that says what happened, never a reset.

namespace {

QVariant at(const QAbstractItemModel& model, int row, ZoneListModel::Role role) {
    return model.data(model.index(row, 0), role);
}

QString idAt(const QAbstractItemModel& model, int row) {
    return at(model, row, ZoneListModel::IdRole).toString();
}

void tick(WindowFixture& fixture, int row) {
    auto& devices = *fixture.devices();
    devices.toggle(devices.data(devices.index(row, 0), DeviceListModel::IdRole).toUInt());
}

} // namespace

TEST(ZoneListModel, AUserSavesRenamesPlaysAndDeletesZonesWithoutTheListResetting) {
    WindowFixture fixture;
    ZoneListModel& model = *fixture.zones();
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
    QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);

    // Nothing ticked: nothing to save. Names are trimmed of spaces and tabs only.
    EXPECT_FALSE(model.canSaveSelection());
    EXPECT_EQ(model.proposedName(), "Zone 1");
    tick(fixture, 0);
    tick(fixture, 1);
    EXPECT_TRUE(model.canSaveSelection());
    EXPECT_FALSE(model.addZone(QStringLiteral(" \t ")));
    EXPECT_EQ(model.rowCount(), 0);
    EXPECT_TRUE(model.addZone(QStringLiteral("\t Küche  und Bad ")));
    ASSERT_EQ(model.rowCount(), 1);
    EXPECT_EQ(at(model, 0, ZoneListModel::NameRole), "Küche  und Bad");
    EXPECT_EQ(at(model, 0, ZoneListModel::DeviceCountRole), 2);
    EXPECT_EQ(at(model, 0, ZoneListModel::HotKeyTextRole), "");
    EXPECT_TRUE(at(model, 0, ZoneListModel::AvailableRole).toBool());
    EXPECT_EQ(model.proposedName(), "Zone 2");
    const QString kitchen = idAt(model, 0);

    // A rename changes the name role of that row and nothing else; an empty one keeps the name.
    changes.clear();
    EXPECT_TRUE(model.rename(kitchen, QStringLiteral(" Küche ")));
    ASSERT_EQ(changes.size(), 1);
    EXPECT_EQ(changes[0][2].value<QList<int>>(), QList<int>{ZoneListModel::NameRole});
    EXPECT_FALSE(model.rename(kitchen, QStringLiteral("   ")));
    EXPECT_EQ(at(model, 0, ZoneListModel::NameRole), "Küche");

    // Playing a zone marks it; playing it again switches it off.
    fixture.saveZone(QStringLiteral("Garten"), {QStringLiteral("airplay-garden")});
    EXPECT_FALSE(at(model, 1, ZoneListModel::AvailableRole).toBool()) << "none of its devices";
    model.activate(kitchen);
    EXPECT_TRUE(at(model, 0, ZoneListModel::ActiveRole).toBool());
    EXPECT_FALSE(at(model, 1, ZoneListModel::ActiveRole).toBool());
    model.activate(kitchen);
    EXPECT_FALSE(at(model, 0, ZoneListModel::ActiveRole).toBool());

    // The selection saved into a zone replaces its devices.
    tick(fixture, 2);
    model.saveSelection(idAt(model, 1));
    EXPECT_EQ(at(model, 1, ZoneListModel::DeviceCountRole), 3);
    EXPECT_TRUE(at(model, 1, ZoneListModel::AvailableRole).toBool());

    // Deleting the first row removes that row only; unknown ids do nothing.
    QSignalSpy removals(&model, &QAbstractItemModel::rowsRemoved);
    model.remove(kitchen);
    model.remove(kitchen);
    EXPECT_EQ(removals.size(), 0) << "not while the row's menu handler runs";
    QCoreApplication::processEvents();
    model.rename(QStringLiteral("not-an-id"), QStringLiteral("X"));
    EXPECT_EQ(removals.size(), 1);
    ASSERT_EQ(model.rowCount(), 1);
    EXPECT_EQ(at(model, 0, ZoneListModel::NameRole), "Garten");
    EXPECT_EQ(model.proposedName(), "Zone 2");
    EXPECT_EQ(resets.size(), 0);
}
