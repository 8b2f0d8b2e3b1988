#include "DeviceListModel.h"
#include "WindowFixture.h"

#include <QAbstractItemModelTester>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QSignalSpy>

#include <gtest/gtest.h>

// The device list as the window's rows: it follows the controller with the smallest change that
// says what happened, never a reset.

namespace {

QVariant at(const QAbstractItemModel& model, int row, DeviceListModel::Role role) {
    return model.data(model.index(row, 0), role);
}

} // namespace

TEST(DeviceListModel, RowsFollowTheControllerChangingOnlyWhatChanged) {
    WindowFixture fixture;
    DeviceListModel& model = *fixture.devices();
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
    QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);

    // By name, as the controller lists them, each with its transport's label and symbol.
    ASSERT_EQ(model.rowCount(), 4);
    EXPECT_EQ(at(model, 0, DeviceListModel::NameRole), "Küchenbox");
    EXPECT_EQ(at(model, 0, DeviceListModel::TransportLabelRole), "Bluetooth");
    EXPECT_EQ(at(model, 0, DeviceListModel::TransportIconRole), "wave.3.right");
    EXPECT_EQ(at(model, 0, DeviceListModel::DelayMsRole).toDouble(), 180.0);
    EXPECT_EQ(at(model, 1, DeviceListModel::TransportIconRole), "laptopcomputer");
    EXPECT_EQ(at(model, 3, DeviceListModel::TransportIconRole), "display");
    // A float volume reads as the user set it: 0.35 shows as 35 %, not 34.
    EXPECT_EQ(at(model, 3, DeviceListModel::VolumeRole).toDouble(), 0.35);

    // A volume tick is one row, one role.
    const auto bluetooth = at(model, 0, DeviceListModel::IdRole).toUInt();
    model.setVolume(bluetooth, 0.42);
    ASSERT_EQ(changes.size(), 1);
    EXPECT_EQ(changes[0][0].toModelIndex().row(), 0);
    EXPECT_EQ(changes[0][1].toModelIndex().row(), 0);
    EXPECT_EQ(changes[0][2].value<QList<int>>(), QList<int>{DeviceListModel::VolumeRole});
    EXPECT_EQ(at(model, 0, DeviceListModel::VolumeRole).toDouble(), 0.42);

    // Ticking two rows and switching on: those rows change selection and meter, no other row.
    changes.clear();
    const auto tv = at(model, 3, DeviceListModel::IdRole).toUInt();
    model.toggle(bluetooth);
    model.toggle(tv);
    fixture.status()->activate();
    ASSERT_TRUE(fixture.status()->active());
    for (const auto& change : changes)
        EXPECT_TRUE(change[0].toModelIndex().row() == 0 || change[0].toModelIndex().row() == 3);
    EXPECT_TRUE(at(model, 0, DeviceListModel::MeterActiveRole).toBool());
    EXPECT_TRUE(at(model, 3, DeviceListModel::SelectedRole).toBool());
    EXPECT_FALSE(at(model, 1, DeviceListModel::MeterActiveRole).toBool());

    // Dragging a delay writes it; the list never resets on any of it.
    model.setDelay(tv, 35);
    EXPECT_EQ(at(model, 3, DeviceListModel::DelayMsRole).toDouble(), 35.0);
    fixture.status()->deactivate();
    EXPECT_FALSE(at(model, 0, DeviceListModel::MeterActiveRole).toBool());
    EXPECT_EQ(resets.size(), 0);
}

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    // The appearance setting follows the system's palette: a GUI application without a screen.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
