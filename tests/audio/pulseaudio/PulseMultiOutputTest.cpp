#include "PulseMultiOutput.h"
#include "SoundProbe.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <memory>

namespace {

TEST_F(PulseMultiOutput, PlaysOnTheSelectedDevicesAndPutsEverythingBackAfterwards) {
    server.pactl({"set-default-sink", "builtin_speakers"});
    server.pactl({"set-sink-mute", "usb_dac", "1"});
    startBrivello({"bt_speaker", "usb_dac"});
    controller->activate();
    ASSERT_TRUE(controller->isActive());
    EXPECT_EQ(server.defaultSink(), kSinkName);
    EXPECT_EQ(loopbacks(), 2);
    EXPECT_TRUE(server.pactl({"get-sink-mute", "usb_dac"}).contains("no"));
    EXPECT_EQ(device(kSinkName).id, 0u) << "Brivello's own sink is never a device";

    MonitorRecording bt("bt_speaker.monitor"), usb("usb_dac.monitor"), hdmi("hdmi_monitor.monitor");
    QProcess player;
    startTone(player, 0.2, 1.0);
    ASSERT_TRUE(player.waitForFinished());
    sleepMs(400); // the loopbacks' latency
    // The tone was written at half scale; both devices play it at full volume, HDMI not at all.
    EXPECT_NEAR(toneAmplitude(bt.channel(0)), 0.5, 0.05);
    EXPECT_NEAR(toneAmplitude(usb.channel(0)), 0.5, 0.05);
    EXPECT_LT(toneAmplitude(hdmi.channel(0)), 0.001);

    controller->deactivate();
    EXPECT_EQ(server.defaultSink(), "builtin_speakers");
    EXPECT_FALSE(leftovers());

    // An output the user picks while Brivello plays is theirs to keep.
    controller->activate();
    server.pactl({"set-default-sink", "hdmi_monitor"});
    // PipeWire's session manager applies the choice a moment later.
    ASSERT_TRUE(
        waitUntil([&] { return audio->defaultOutputDevice() == device("hdmi_monitor").id; }, 1000));
    controller->deactivate();
    EXPECT_EQ(server.defaultSink(), "hdmi_monitor");
    EXPECT_FALSE(leftovers());
}

// Two devices fed by one 4-channel null sink share its clock, so the onsets recorded on its
// monitor (front channels: near, rear: far) differ by exactly what the loopbacks add.
class PulseSharedClock : public PulseMultiOutput {
protected:
    void SetUp() override {
        PulseMultiOutput::SetUp();
        ASSERT_GE(server.loadModule({"module-null-sink", "sink_name=clock4", "channels=4",
                                     "channel_map=front-left,front-right,rear-left,rear-right"}),
                  0);
        for (const auto& [name, channels] : {std::pair{"near", "front-left,front-right"},
                                             std::pair{"far", "rear-left,rear-right"}})
            ASSERT_GE(server.loadModule({"module-remap-sink", QString("sink_name=") + name,
                                         "master=clock4", "remix=no", "channels=2",
                                         "channel_map=front-left,front-right",
                                         QString("master_channel_map=") + channels,
                                         "sink_properties=device.class=sound"}),
                      0);
        // The recording asks the 4-channel sink for a short latency before the loopbacks start;
        // otherwise they would settle on the null sink's idle latency of two seconds.
        recording = std::make_unique<MonitorRecording>("clock4.monitor", 4);
    }

    std::unique_ptr<MonitorRecording> recording;
};

TEST_F(PulseSharedClock, ACommittedDelayMovesThatDeviceLaterByItsMilliseconds) {
    auto& both = *recording;
    startBrivello({"near", "far"});
    controller->activate();
    controller->setDelay(device("far").id, 180);
    controller->commitDelays();
    ASSERT_TRUE(controller->isActive());
    sleepMs(500); // the loopbacks settle on their latencies

    QProcess player;
    startTone(player, 0.3, 0.5);
    ASSERT_TRUE(player.waitForFinished());
    sleepMs(500);
    const auto nearOnset = onsetSeconds(both.channel(0));
    const auto farOnset = onsetSeconds(both.channel(2));
    ASSERT_TRUE(nearOnset && farOnset);
    EXPECT_NEAR((*farOnset - *nearOnset) * 1000.0, 180.0, 5.0);

    // Beyond what the server's loopbacks take (30 s): refused, and the sound goes on as it was.
    controller->setDelay(device("far").id, 60000);
    controller->commitDelays();
    EXPECT_TRUE(controller->isActive());
    EXPECT_EQ(controller->delaysMs().at(device("far").id), 180);
    EXPECT_EQ(loopbacks(), 2);
    EXPECT_EQ(server.defaultSink(), kSinkName);
}

// Nothing playing on the device: its members rest until the server suspends them, while Brivello
// stays on as before. Every stream wakes them, each device exactly as late as before, however
// often they rested; a member unplugged meanwhile rests along once it is back and keeps its delay.
TEST_F(PulseSharedClock, MembersRestWhileNothingPlaysAndWakeWithTheirDelays) {
    if (PrivateSoundServer::isPipeWire())
        GTEST_SKIP() << "on PipeWire 0.3.65 the members do not rest (see MultiOutputRest)";
    // Idle sinks here suspend after 1 s, so that every round wakes sleeping members.
    server.pactl({"unload-module", "module-suspend-on-idle"});
    ASSERT_GE(server.loadModule({"module-suspend-on-idle", "timeout=1"}), 0);
    const auto userDefault = server.defaultSink();
    startBrivello({"near", "far"}, std::chrono::milliseconds(300));
    controller->activate();
    controller->setDelay(device("far").id, 180);
    controller->commitDelays();
    ASSERT_TRUE(controller->isActive());
    const auto status = controller->statusMessage();
    auto membersSuspended = [&] {
        return waitUntil(
            [&] {
                return sinkState(kSinkName) == "SUSPENDED" && sinkState("near") == "SUSPENDED" &&
                       sinkState("far") == "SUSPENDED";
            },
            5000);
    };
    EXPECT_TRUE(membersSuspended()) << qPrintable(server.pactl({"list", "short", "sinks"}));
    const auto farModule = server.list("modules").filter("sink_name=far").first();
    server.pactl({"unload-module", farModule.section('\t', 0, 0)});
    ASSERT_TRUE(waitUntil([&] { return loopbacks() == 1; }, 1000));
    ASSERT_GE(
        server.loadModule(QStringList{"module-remap-sink"} + farModule.section('\t', 2).split(' ')),
        0);
    EXPECT_TRUE(waitUntil([&] { return loopbacks() == 2; }, 1000));
    EXPECT_TRUE(membersSuspended()) << "the returning member rests as well";
    EXPECT_EQ(server.defaultSink(), kSinkName);
    EXPECT_EQ(controller->statusMessage(), status);
    EXPECT_EQ(audio->multiOutputMembers().size(), 2u);

    int changes = 0; // resting and waking are no change to anyone
    for (auto signal :
         {&MultiOutputController::devicesChanged, &MultiOutputController::selectedChanged,
          &MultiOutputController::isActiveChanged, &MultiOutputController::statusMessageChanged})
        QObject::connect(controller.get(), signal, [&] { ++changes; });
    constexpr int kRounds = 20;
    for (int round = 0; round <= kRounds; ++round) {
        ASSERT_TRUE(membersSuspended()) << "round " << round;
        QProcess player;
        startTone(player, 0, 0.2);
        ASSERT_TRUE(waitUntil([&] { return player.state() == QProcess::NotRunning; }, 5000));
        sleepMs(300); // one tone ends before the next starts, on every device
    }
    const auto nearOnsets = onsetsSeconds(recording->channel(0), 0.4);
    const auto farOnsets = onsetsSeconds(recording->channel(2), 0.4);
    ASSERT_EQ(nearOnsets.size(), kRounds + 1u);
    ASSERT_EQ(farOnsets.size(), kRounds + 1u);
    for (int round = 0; round <= kRounds; ++round)
        EXPECT_NEAR((farOnsets[round] - nearOnsets[round]) * 1000.0, 180.0, 2.0)
            << "round " << round;
    // Switched off while resting.
    ASSERT_TRUE(waitUntil([&] { return sinkState(kSinkName) == "SUSPENDED"; }, 5000));
    EXPECT_EQ(changes, 0);
    EXPECT_TRUE(controller->isActive());
    controller->deactivate();
    EXPECT_EQ(server.defaultSink(), userDefault);
    EXPECT_FALSE(leftovers());
}

// Descriptions end up in the loopbacks' arguments; none may break or add an argument. Sink names
// with quotes or backslashes (PipeWire allows them, PulseAudio replaces them) play as well.
TEST_F(PulseMultiOutput, DevicesNamedLikeArgumentsWorkAsAnyOther) {
    ASSERT_GE(server.loadModule({"module-null-sink", "sink_name=tricky",
                                 "sink_properties='device.description=\"Wohnzimmer \\\"Süd\\\" a=b "
                                 "\\'x\\' \\\\ sink_name=evil ♫\" device.class=\"sound\"'"}),
              0);
    ASSERT_GE(server.loadModule({"module-null-sink", "sink_name=\"quote'it\\now\"",
                                 "sink_properties=device.class=sound"}),
              0);
    const auto quoted = server.list("sinks").filter("quote");
    ASSERT_EQ(quoted.size(), 1);
    const auto quotedName = quoted.first().section('\t', 1, 1).toStdString();
    startBrivello({"tricky", "usb_dac", quotedName.c_str()});
    // PipeWire 0.3.65 skips escaped characters in module arguments but keeps their backslashes,
    // so there the server's own description, and the device's name, has them.
    EXPECT_EQ(device("tricky").name,
              PrivateSoundServer::isPipeWire()
                  ? "Wohnzimmer \\\"Süd\\\" a=b \\'x\\' \\\\ sink_name=evil ♫"
                  : "Wohnzimmer \"Süd\" a=b 'x' \\ sink_name=evil ♫");
    controller->activate();
    ASSERT_TRUE(controller->isActive());
    sleepMs(200); // PipeWire dropped a loopback it could not link a moment after loading it
    EXPECT_EQ(loopbacks(), 3);
    auto members = audio->multiOutputMembers();
    std::sort(members.begin(), members.end());
    EXPECT_EQ(members, (std::vector<std::string>{quotedName, "tricky", "usb_dac"}));
    EXPECT_FALSE(server.pactl({"list", "sinks"}).contains("Name: evil"));
    const auto inputs = server.pactl({"list", "sink-inputs"});
    EXPECT_TRUE(inputs.contains("Süd") && inputs.contains("sink_name=evil ♫"));
    controller->deactivate();
    EXPECT_FALSE(leftovers());
}

// The loudest channel is the volume, above 1 where the server amplifies; writing it keeps the
// balance, even on the way back from 0. What other mixers do reaches the controller.
TEST_F(PulseMultiOutput, VolumeIsTheServersAndFollowsChangesMadeElsewhere) {
    startBrivello();
    const auto usb = device("usb_dac").id;
    auto shown = [&] { return controller->volumes().at(usb); };
    // PipeWire applies a volume a moment after pactl returns.
    auto reads = [&](float level) {
        return waitUntil([&] { return std::abs(audio->volume(usb).value_or(-1) - level) < 0.01f; },
                         1000);
    };
    server.pactl({"set-sink-volume", "usb_dac", "40%", "80%"});
    EXPECT_TRUE(reads(0.8f));
    EXPECT_TRUE(waitUntil([&] { return std::abs(shown() - 0.8f) < 0.01f; }, 1000)) << shown();
    EXPECT_TRUE(audio->setVolume(0.0f, usb) && audio->setVolume(0.4f, usb));
    EXPECT_TRUE(waitUntil(
        [&] {
            const auto channels = server.pactl({"get-sink-volume", "usb_dac"});
            return channels.contains("20%") && channels.contains("40%");
        },
        1000));

    server.pactl({"set-sink-volume", "usb_dac", "130%"});
    EXPECT_TRUE(reads(1.3f));
    EXPECT_TRUE(waitUntil([&] { return std::abs(shown() - 1.3f) < 0.01f; }, 1000)) << shown();
    // A device that comes back shows the volume it comes back with: 100 % on PulseAudio here,
    // the one it left with where the session manager restores it (PipeWire's).
    const auto module =
        server.list("modules").filter("sink_name=usb_dac").first().section('\t', 0, 0);
    server.pactl({"unload-module", module});
    ASSERT_GE(server.loadSink("usb_dac", "USB-Audio", "device.bus=usb"), 0);
    EXPECT_TRUE(waitUntil(
        [&] { return std::abs(shown() - audio->volume(usb).value_or(-1)) < 0.01f; }, 1000))
        << shown();

    // Devices that are gone fail as values, never as crashes.
    EXPECT_FALSE(audio->volume(9999));
    EXPECT_FALSE(audio->setVolume(0.5f, 9999));
    EXPECT_NE(audio->setDefaultOutputDevice(9999), 0);
}

TEST_F(PulseMultiOutput, DevicesComingAndGoingWhileActiveAreSeenWithinASecond) {
    startBrivello({"usb_dac", "bt_speaker"});
    controller->activate();
    ASSERT_TRUE(controller->isActive());
    const int late = server.loadSink("late_usb", "Später USB", "device.bus=usb");
    ASSERT_TRUE(waitUntil([&] { return device("late_usb").id != 0; }, 1000));
    EXPECT_EQ(device("late_usb").name, "Später USB");
    EXPECT_EQ(device("late_usb").transport, AudioOutputDevice::Transport::usb);
    server.pactl({"unload-module", QString::number(late)});
    EXPECT_TRUE(waitUntil([&] { return device("late_usb").id == 0; }, 1000));
    EXPECT_TRUE(controller->isActive());
    EXPECT_EQ(server.defaultSink(), kSinkName);

    // The Bluetooth speaker drops out and reconnects: ticked and playing again, also after the
    // next delay commit.
    const auto bt =
        server.list("modules").filter("sink_name=bt_speaker").first().section('\t', 0, 0);
    server.pactl({"unload-module", bt});
    ASSERT_TRUE(waitUntil([&] { return device("bt_speaker").id == 0; }, 1000));
    EXPECT_EQ(controller->selected().size(), 1u);
    ASSERT_GE(server.loadSink("bt_speaker", "Bluetooth-Lautsprecher",
                              "device.bus=bluetooth device.api=bluez"),
              0);
    EXPECT_TRUE(
        waitUntil([&] { return controller->selected().contains(device("bt_speaker").id); }, 1000));
    EXPECT_TRUE(waitUntil([&] { return loopbacks() == 2; }, 1000));
    controller->commitDelays();
    EXPECT_EQ(controller->selected().size(), 2u);
    EXPECT_EQ(loopbacks(), 2);
    EXPECT_EQ(controller->statusMessage(), QString::fromUtf8("Aktiv – Ton spielt auf 2 Geräten."));
}

} // namespace
