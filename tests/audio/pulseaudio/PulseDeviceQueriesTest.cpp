#include "EventLoop.h"
#include "PrivateSoundServer.h"
#include "PulseAudioSystem.h"

#include <QThread>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace {

using Transport = AudioOutputDevice::Transport;

class PulseDeviceQueries : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(server.start());
        audio = std::make_unique<PulseAudioSystem>();
        ASSERT_TRUE(audio->isConnected());
    }

    std::optional<AudioOutputDevice> device(const std::string& uid) {
        for (const auto& d : audio->outputDevices())
            if (d.uid == uid)
                return d;
        return std::nullopt;
    }

    PrivateSoundServer server;
    std::unique_ptr<PulseAudioSystem> audio;
};

TEST_F(PulseDeviceQueries, ListsEverySinkByDescriptionWithItsTransport) {
    const auto devices = audio->outputDevices();
    ASSERT_EQ(devices.size(), 4u);
    // Sorted by name, ids are the sink indices shifted by one so that none is 0.
    EXPECT_EQ(devices[0].name, "Bluetooth-Lautsprecher");
    EXPECT_EQ(devices[0].uid, "bt_speaker");
    EXPECT_EQ(devices[0].transport, Transport::bluetooth);
    EXPECT_EQ(devices[1].name, "Eingebaute Lautsprecher");
    EXPECT_EQ(devices[1].transport, Transport::builtIn);
    EXPECT_EQ(devices[2].name, "HDMI-Bildschirm");
    EXPECT_EQ(devices[2].transport, Transport::hdmi);
    EXPECT_EQ(devices[3].name, "USB-Audio");
    EXPECT_EQ(devices[3].transport, Transport::usb);
    for (const auto& d : devices)
        EXPECT_NE(d.id, 0u);

    // A sink without a description is "Unbekannt"; a plain null sink is virtual.
    bool ok = false;
    server.pactl({"load-module", "module-null-sink", "sink_name=nameless",
                  "sink_properties=device.description=''"},
                 &ok);
    ASSERT_TRUE(ok);
    const auto nameless = device("nameless");
    ASSERT_TRUE(nameless);
    EXPECT_EQ(nameless->name, "Unbekannt");
    EXPECT_EQ(nameless->transport, Transport::virtual_);
}

TEST_F(PulseDeviceQueries, VolumeMuteAndDefaultAreTheServersOwn) {
    const auto usb = *device("usb_dac");
    const auto bt = *device("bt_speaker");

    // The loudest channel is the device's volume; writing it keeps the balance.
    server.pactl({"set-sink-volume", "usb_dac", "40%", "80%"});
    ASSERT_TRUE(audio->volume(usb.id));
    EXPECT_NEAR(*audio->volume(usb.id), 0.8f, 0.01f);
    EXPECT_TRUE(audio->setVolume(0.4f, usb.id));
    EXPECT_NE(server.pactl({"get-sink-volume", "usb_dac"}).indexOf("20%"), -1);
    EXPECT_NEAR(*audio->volume(usb.id), 0.4f, 0.01f);
    // Down to 0 and up again, the balance is still there.
    EXPECT_TRUE(audio->setVolume(0.0f, usb.id));
    EXPECT_TRUE(audio->setVolume(0.8f, usb.id));
    EXPECT_NE(server.pactl({"get-sink-volume", "usb_dac"}).indexOf("40%"), -1);
    // Above 100 % the server may go, Brivello's scale ends at 1.
    server.pactl({"set-sink-volume", "usb_dac", "150%"});
    EXPECT_FLOAT_EQ(*audio->volume(usb.id), 1.0f);

    server.pactl({"set-sink-mute", "usb_dac", "1"});
    audio->unmute(usb.id);
    EXPECT_NE(server.pactl({"get-sink-mute", "usb_dac"}).indexOf("no"), -1);

    EXPECT_EQ(audio->setDefaultOutputDevice(bt.id), 0);
    EXPECT_EQ(server.defaultSink(), "bt_speaker");
    EXPECT_EQ(audio->defaultOutputDevice(), bt.id);

    // Devices that are gone fail as values, never as crashes.
    EXPECT_FALSE(audio->volume(9999));
    EXPECT_FALSE(audio->setVolume(0.5f, 9999));
    EXPECT_NE(audio->setDefaultOutputDevice(9999), 0);
    EXPECT_EQ(audio->commonSampleRate({9999}), 44100.0);
}

TEST_F(PulseDeviceQueries, TheListenerRunsOnTheMainThreadWhenADeviceComesOrGoes) {
    int calls = 0;
    bool onMainThread = true;
    audio->setDeviceListListener([&] {
        ++calls;
        onMainThread = onMainThread && QThread::currentThread() == qApp->thread();
    });

    const int module = server.loadSink("late_usb", "Später USB", "device.bus=usb");
    ASSERT_GE(module, 0);
    EXPECT_TRUE(waitUntil([&] { return calls > 0 && device("late_usb"); }, 1000));

    calls = 0;
    server.pactl({"unload-module", QString::number(module)});
    EXPECT_TRUE(waitUntil([&] { return calls > 0 && !device("late_usb"); }, 1000));
    EXPECT_TRUE(onMainThread);

    audio->setDeviceListListener({});
    calls = 0;
    server.loadSink("unheard", "Ungehört");
    waitUntil([] { return false; }, 300);
    EXPECT_EQ(calls, 0);
}

} // namespace
