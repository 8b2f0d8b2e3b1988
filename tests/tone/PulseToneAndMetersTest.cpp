#include "DeviceListModel.h"
#include "PulseLevelSource.h"
#include "PulseMultiOutput.h"
#include "PulseToneOutput.h"
#include "ToneGenerator.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

// The test tone and the meters on a private server: the levels the window's rows would show,
// read from the device list, while Brivello plays on two of the four devices.

namespace {

class PulseToneAndMeters : public PulseMultiOutput {
protected:
    double level(const char* uid) {
        for (int row = 0; row < model->rowCount(); ++row) {
            const auto index = model->index(row);
            if (model->data(index, DeviceListModel::UidRole).toString() == uid)
                return model->data(index, DeviceListModel::MeterLevelRole).toDouble();
        }
        return -1;
    }
    // Brivello's own record streams; the loopbacks' belong to no client.
    qsizetype meterStreams() {
        qsizetype count = 0;
        for (const auto& output : server.list("source-outputs"))
            count += output.section('\t', 2, 2) != "-";
        return count;
    }
    bool tonePlaysOnBoth() { return level("usb_dac") > 0.5 && level("builtin_speakers") > 0.5; }

    std::unique_ptr<PulseLevelSource> levels;
    std::unique_ptr<DeviceListModel> model;
    std::unique_ptr<PulseToneOutput> output;
    std::unique_ptr<ToneGenerator> tone;
};

} // namespace

TEST_F(PulseToneAndMeters, MetersFollowTheToneOnTheActiveDevicesAndComeBackWithTheServer) {
    startBrivello({"usb_dac", "builtin_speakers"});
    levels = std::make_unique<PulseLevelSource>(audio->connection());
    model = std::make_unique<DeviceListModel>(*controller, levels.get());
    output = std::make_unique<PulseToneOutput>(audio->connection());
    tone = std::make_unique<ToneGenerator>(*output);
    controller->activate();
    ASSERT_TRUE(controller->isActive());
    QSignalSpy changes(model.get(), &DeviceListModel::dataChanged);

    sleepMs(300);
    EXPECT_EQ(meterStreams(), 0) << "nothing is measured while no window shows the meters";
    model->setMetersShown(true);
    EXPECT_EQ(meterStreams(), 2);
    sleepMs(500);
    EXPECT_EQ(level("usb_dac"), 0.0) << "silence rests the bars";

    tone->start();
    ASSERT_TRUE(tone->isPlaying());
    ASSERT_TRUE(waitUntil([&] { return tonePlaysOnBoth(); }, 3000));
    // A peak of 0.18 on the meter's scale, the cube root.
    EXPECT_NEAR(level("usb_dac"), 0.565, 0.03);
    EXPECT_NEAR(level("builtin_speakers"), 0.565, 0.03);
    EXPECT_EQ(level("bt_speaker"), 0.0) << "an unselected device shows nothing";
    EXPECT_EQ(level("hdmi_monitor"), 0.0);
    for (const auto& change : changes) {
        if (change.at(2).value<QList<int>>() != QList<int>{DeviceListModel::MeterLevelRole})
            continue;
        EXPECT_TRUE(change.at(0).toModelIndex().data(DeviceListModel::SelectedRole).toBool())
            << "only the measured rows change";
    }

    tone->stop();
    EXPECT_TRUE(
        waitUntil([&] { return level("usb_dac") == 0 && level("builtin_speakers") == 0; }, 1500))
        << "the bars fall back to rest";

    model->setMetersShown(false);
    EXPECT_TRUE(waitUntil([&] { return meterStreams() == 0; }, 1000)) << "a hidden window";
    model->setMetersShown(true);

    // The server goes away under a playing tone: the button is free again, a start without a
    // server says why, and once the server is back tone and meters work as before.
    tone->start();
    ASSERT_TRUE(tone->isPlaying());
    server.stop();
    EXPECT_TRUE(waitUntil([&] { return !tone->isPlaying(); }, 3000));
    testing::internal::CaptureStdout();
    tone->start();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Brivello: engine start failed: no output device\n");
    ASSERT_TRUE(server.start());
    ASSERT_TRUE(waitUntil([&] { return server.defaultSink() == kSinkName; }, 5000));
    tone->start();
    EXPECT_TRUE(tone->isPlaying());
    EXPECT_TRUE(waitUntil([&] { return tonePlaysOnBoth(); }, 4000)) << "the meters reattach";
    tone->stop();
    controller->deactivate();
    EXPECT_TRUE(waitUntil([&] { return meterStreams() == 0; }, 1000)) << "switched off";
}
