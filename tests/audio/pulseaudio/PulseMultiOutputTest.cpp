#include "EventLoop.h"
#include "MultiOutputController.h"
#include "PrivateSoundServer.h"
#include "PulseAudioSystem.h"
#include "SoundProbe.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

class PulseMultiOutput : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(server.start());
        audio = std::make_unique<PulseAudioSystem>();
        ASSERT_TRUE(audio->isConnected());
        controller = std::make_unique<MultiOutputController>(*audio);
    }

    void select(std::initializer_list<const char*> uids) {
        controller->refresh();
        for (const char* uid : uids)
            for (const auto& device : controller->devices())
                if (device.uid == uid)
                    controller->toggle(device.id);
        ASSERT_EQ(controller->selected().size(), uids.size());
    }

    AudioDeviceID idOf(const std::string& uid) {
        for (const auto& device : controller->devices())
            if (device.uid == uid)
                return device.id;
        return 0;
    }

    int brivelloModules() {
        int count = 0;
        for (const auto& line : server.modules())
            if (line.contains(PulseAudioSystem::kSinkName) ||
                line.contains(PulseAudioSystem::kMarkerProperty))
                ++count;
        return count;
    }

    PrivateSoundServer server;
    std::unique_ptr<PulseAudioSystem> audio;
    std::unique_ptr<MultiOutputController> controller;
};

TEST_F(PulseMultiOutput, PlaysOnTheSelectedDevicesAndPutsEverythingBackAfterwards) {
    server.pactl({"set-default-sink", "builtin_speakers"});
    select({"bt_speaker", "usb_dac"});
    controller->activate();
    ASSERT_TRUE(controller->isActive());
    EXPECT_EQ(server.defaultSink(), PulseAudioSystem::kSinkName);
    // One null sink and a loopback per device; Brivello's sink is never a device.
    EXPECT_EQ(brivelloModules(), 3);
    for (const auto& device : audio->outputDevices())
        EXPECT_NE(device.uid, PulseAudioSystem::kSinkName);

    MonitorRecording bt("bt_speaker.monitor", 1);
    MonitorRecording usb("usb_dac.monitor", 1);
    MonitorRecording hdmi("hdmi_monitor.monitor", 1);
    ASSERT_TRUE(playTone(0.2, 1.0));
    waitUntil([] { return false; }, 400); // the loopbacks' latency
    // The tone was written at half scale; both devices play it at full volume, HDMI not at all.
    EXPECT_NEAR(toneAmplitude(bt.channel(0)), 0.5, 0.05);
    EXPECT_NEAR(toneAmplitude(usb.channel(0)), 0.5, 0.05);
    EXPECT_LT(toneAmplitude(hdmi.channel(0)), 0.001);

    controller->deactivate();
    EXPECT_FALSE(controller->isActive());
    EXPECT_EQ(server.defaultSink(), "builtin_speakers");
    EXPECT_EQ(brivelloModules(), 0);
}

TEST_F(PulseMultiOutput, ActivationMakesMutedAndSilentDevicesAudible) {
    server.pactl({"set-sink-mute", "usb_dac", "1"});
    server.pactl({"set-sink-volume", "usb_dac", "2%"});
    select({"usb_dac", "hdmi_monitor"});
    controller->activate();
    ASSERT_TRUE(controller->isActive());
    EXPECT_NE(server.pactl({"get-sink-mute", "usb_dac"}).indexOf("no"), -1);
    EXPECT_NEAR(*audio->volume(idOf("usb_dac")), 0.7f, 0.01f);
    controller->teardown();
    EXPECT_EQ(brivelloModules(), 0);
}

// Two devices fed by one 4-channel null sink share its clock, so the onsets recorded on its
// monitor differ by exactly what the loopbacks add.
TEST_F(PulseMultiOutput, ACommittedDelayMovesThatDeviceLaterByItsMilliseconds) {
    bool ok = false;
    server.pactl({"load-module", "module-null-sink", "sink_name=clock4", "channels=4",
                  "channel_map=front-left,front-right,rear-left,rear-right",
                  "sink_properties=device.description=Takt"},
                 &ok);
    ASSERT_TRUE(ok);
    for (const auto& [name, channels] :
         {std::pair{"near", "front-left,front-right"}, std::pair{"far", "rear-left,rear-right"}}) {
        server.pactl(
            {"load-module", "module-remap-sink", QString("sink_name=") + name, "master=clock4",
             "remix=no", "channels=2", "channel_map=front-left,front-right",
             QString("master_channel_map=") + channels,
             QString("sink_properties=\"device.description='") + name + "' device.class=sound\""},
            &ok);
        ASSERT_TRUE(ok);
    }
    // The recording asks the 4-channel sink for a short latency before the loopbacks start;
    // otherwise they would settle on the null sink's idle latency of two seconds.
    MonitorRecording both("clock4.monitor", 4);
    select({"near", "far"});
    controller->activate();
    ASSERT_TRUE(controller->isActive());

    controller->setDelay(idOf("far"), 180);
    controller->commitDelays();
    ASSERT_TRUE(controller->isActive());
    EXPECT_EQ(brivelloModules(), 3);
    waitUntil([] { return false; }, 500); // the loopbacks settle on their latencies

    ASSERT_TRUE(playTone(0.3, 0.5));
    waitUntil([] { return false; }, 500);
    const auto nearOnset = onsetSeconds(both.channel(0));
    const auto farOnset = onsetSeconds(both.channel(2));
    ASSERT_TRUE(nearOnset && farOnset);
    EXPECT_NEAR((*farOnset - *nearOnset) * 1000.0, 180.0, 5.0);
    controller->deactivate();
}

// Descriptions end up in the loopbacks' arguments; none may break or add an argument.
TEST_F(PulseMultiOutput, DevicesNamedLikeArgumentsWorkAsAnyOther) {
    const std::string tricky = "Wohnzimmer \"Süd\" a=b 'x' \\ sink_name=evil ♫";
    bool ok = false;
    server.pactl({"load-module", "module-null-sink", "sink_name=tricky",
                  "sink_properties='device.description=\"Wohnzimmer \\\"Süd\\\" a=b \\'x\\' \\\\ "
                  "sink_name=evil ♫\" device.class=\"sound\"'"},
                 &ok);
    ASSERT_TRUE(ok);
    controller->refresh();
    const auto id = idOf("tricky");
    ASSERT_NE(id, 0u);
    // PipeWire 0.3.65 skips escaped characters in module arguments but keeps their backslashes,
    // so there the server's own description, and the device's name, has them.
    const std::string described = PrivateSoundServer::isPipeWire()
                                      ? "Wohnzimmer \\\"Süd\\\" a=b \\'x\\' \\\\ sink_name=evil ♫"
                                      : tricky;
    for (const auto& device : controller->devices()) {
        if (device.id == id) {
            EXPECT_EQ(device.name, described);
        }
    }

    select({"tricky", "usb_dac"});
    controller->activate();
    ASSERT_TRUE(controller->isActive());
    EXPECT_EQ(brivelloModules(), 3);
    EXPECT_EQ(server.pactl({"list", "sinks"}).count("Name: evil"), 0);
    const auto inputs = server.pactl({"list", "sink-inputs"});
    EXPECT_TRUE(inputs.contains(QString::fromUtf8("Süd")) &&
                inputs.contains(QString::fromUtf8("sink_name=evil ♫")));
    controller->deactivate();
    EXPECT_EQ(brivelloModules(), 0);
}

} // namespace
