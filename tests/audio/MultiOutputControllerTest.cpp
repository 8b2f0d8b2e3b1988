#include "MultiOutputController.h"
#include "CoreAudioHAL.h"
#include "CoreAudioStandIn.h"
#include "CoreAudioSystem.h"
#include "Zone.h"

#include <QCoreApplication>
#include <QTimer>

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

// The controller on top of the real Core Audio algorithms, over the in-memory Core Audio.

using namespace coreaudio;
using Call = CoreAudioStandIn::Call;

namespace {

const PropertyAddress kVolume = CoreAudioStandIn::output(kAudioDevicePropertyVolumeScalar);
const PropertyAddress kMute = CoreAudioStandIn::output(kAudioDevicePropertyMute);
const PropertyAddress kExtraLatency = CoreAudioStandIn::global(kAudioSubDevicePropertyExtraLatency);

CoreAudioStandIn::Device device(const char* uid, const char* name, std::uint32_t transport) {
    return {.uid = uid, .name = name, .transport = transport, .volumes = {{0, {0.5f}}}};
}

std::string entry(const DescriptionDictionary& description, const char* key) {
    return describe(*find(description, key));
}

void deliverNotifications() {
    for (int i = 0; i < 3; ++i)
        QCoreApplication::processEvents();
}

class Controller : public testing::Test {
protected:
    void SetUp() override {
        leftover = audio.plug({.uid = CoreAudioHAL::kMultiOutputUID,
                               .transport = kAudioDeviceTransportTypeAggregate});
        speakers = audio.plug(device("speakers", "Speakers", kAudioDeviceTransportTypeBuiltIn));
        headset = audio.plug(device("headset", "Headset", kAudioDeviceTransportTypeBluetooth));
        audio.setDefaultOutput(speakers);
        // A device that turns up while the leftover goes is seen only if the read comes after.
        audio.beforeNextCall(Call::destroy, [&] {
            usb = audio.plug(device("usb", "USB DAC", kAudioDeviceTransportTypeUSB));
        });
        controller = std::make_unique<MultiOutputController>(system);
        removedAtStart = audio.removals();
        devicesAtStart = controller->devices().size();
        deliverNotifications(); // the plugs above were announced too
        audio.clearRecords();
    }
    // Brivello's devices as the platform lists them once it has done what it was asked.
    std::vector<ObjectID> multiOutputs() {
        deliverNotifications();
        std::vector<ObjectID> result;
        for (ObjectID id : audio.deviceList()) {
            std::optional<std::string> uid;
            audio.getStringProperty(id, CoreAudioStandIn::global(kAudioDevicePropertyDeviceUID),
                                    uid);
            if (uid == CoreAudioHAL::kMultiOutputUID)
                result.push_back(id);
        }
        return result;
    }

    CoreAudioStandIn audio;
    CoreAudioSystem system{audio};
    std::unique_ptr<MultiOutputController> controller;
    ObjectID leftover = 0, speakers = 0, headset = 0, usb = 0;
    std::vector<ObjectID> removedAtStart;
    std::size_t devicesAtStart = 0;
};

} // namespace

TEST_F(Controller, FollowsTheDeviceListAndGivesAReturningDeviceItsDelayBack) {
    EXPECT_EQ(removedAtStart, std::vector<ObjectID>{leftover});
    EXPECT_EQ(devicesAtStart, 3u) << "the leftover goes before the first read";

    int refreshes = 0;
    bool consistent = true;
    std::vector<bool> canActivate;
    // Whoever redraws on the announcement sees a whole state: a volume and a delay for every
    // listed device, nothing selected that is not listed.
    QObject::connect(controller.get(), &MultiOutputController::devicesChanged, [&] {
        ++refreshes;
        std::set<AudioDeviceID> listed;
        for (const auto& device : controller->devices()) {
            listed.insert(device.id);
            consistent = consistent && controller->volumes().contains(device.id) &&
                         controller->delaysMs().contains(device.id);
        }
        for (const auto id : controller->selected())
            consistent = consistent && listed.contains(id);
    });
    QObject::connect(controller.get(), &MultiOutputController::canActivateChanged,
                     [&] { canActivate.push_back(controller->canActivate()); });

    audio.notifyDeviceListChanged();
    audio.notifyDeviceListChanged();
    QCoreApplication::processEvents(); // runs the platform's callbacks, which only schedule
    EXPECT_EQ(refreshes, 0);
    deliverNotifications();
    EXPECT_EQ(refreshes, 2);

    // The selected headset with the user's delay drops out as another device arrives.
    controller->toggle(headset);
    controller->setDelay(headset, 250);
    audio.unplug(headset);
    audio.plug(device("late", "Später", kAudioDeviceTransportTypeUSB));
    deliverNotifications();
    EXPECT_TRUE(consistent);
    EXPECT_TRUE(controller->selected().empty());
    EXPECT_EQ(canActivate, (std::vector<bool>{true, false}));

    audio.plug(device("headset", "Headset", kAudioDeviceTransportTypeBluetooth), headset);
    deliverNotifications();
    EXPECT_EQ(controller->devices().size(), 4u);
    EXPECT_EQ(controller->delaysMs().at(headset), 250);

    // Core Audio promises nothing about the id of a returning device: the delay follows the uid.
    controller->setDelay(usb, 30);
    audio.unplug(usb);
    const auto usbAgain = audio.plug(device("usb", "USB DAC", kAudioDeviceTransportTypeUSB));
    deliverNotifications();
    ASSERT_NE(usbAgain, usb);
    EXPECT_EQ(controller->delaysMs().at(usbAgain), 30);
    EXPECT_TRUE(consistent);
}

TEST_F(Controller, VolumesFollowWhateverChangesThemAndAreAnnouncedOnlyWhenTheyMove) {
    int announced = 0;
    QObject::connect(controller.get(), &MultiOutputController::volumesChanged,
                     [&] { ++announced; });
    // Another mixer or the volume keys.
    const float quieter = 0.3f;
    audio.setPropertyData(speakers, kVolume, sizeof(quieter), &quieter);
    deliverNotifications();
    EXPECT_EQ(controller->volumes().at(speakers), 0.3f);
    EXPECT_EQ(announced, 1);

    // The controller's own write comes back through the listener and is not news.
    controller->setVolume(0.6f, controller->devices()[1]); // by name: Headset, Speakers, USB DAC
    deliverNotifications();
    EXPECT_EQ(audio.value<float>(speakers, kVolume), 0.6f);
    EXPECT_EQ(announced, 2);
    const std::uint32_t muted = 1;
    audio.setValue(speakers, kMute, std::uint32_t{0}, true);
    audio.setPropertyData(speakers, kMute, sizeof(muted), &muted);
    deliverNotifications();
    EXPECT_EQ(announced, 2) << "a mute leaves the volume as it is";

    // A Bluetooth device reconnects with the volume it keeps itself; a newcomer is followed too.
    audio.unplug(headset);
    auto loud = device("headset", "Headset", kAudioDeviceTransportTypeBluetooth);
    loud.volumes = {{0, {0.9f}}};
    audio.plug(loud, headset);
    const auto late = audio.plug(device("late", "Später", kAudioDeviceTransportTypeUSB));
    deliverNotifications();
    EXPECT_EQ(controller->volumes().at(headset), 0.9f);
    const float half = 0.5f, louder = 0.8f;
    audio.setPropertyData(late, kVolume, sizeof(louder), &louder);
    audio.setPropertyData(headset, kVolume, sizeof(half), &half);
    deliverNotifications();
    EXPECT_EQ(controller->volumes().at(late), 0.8f);
    EXPECT_EQ(controller->volumes().at(headset), 0.5f);
    EXPECT_EQ(audio.listenerCount(speakers, kVolume), 1u) << "listeners do not pile up";
}

TEST_F(Controller, AnActiveSessionIsBuiltRebuiltAndTakenDownInOrderLeavingTheUsersDefault) {
    audio.setValue(speakers, kVolume, 0.02f, true);
    audio.setValue(speakers, kMute, std::uint32_t{1}, true);
    audio.setValue(usb, kVolume, 0.05f, true);
    for (auto id : {headset, speakers, usb})
        controller->toggle(id);
    controller->setDelay(usb, 12.5); // the speakers keep 0 ms, the headset Bluetooth's 180 ms
    EXPECT_EQ(controller->latencyMs(),
              (std::map<std::string, double>{{"usb", 12.5}, {"headset", 180.0}}));

    controller->activate();
    ASSERT_TRUE(controller->isActive());
    EXPECT_EQ(controller->statusMessage(), QString::fromUtf8("Aktiv – Ton spielt auf 3 Geräten."));
    ASSERT_EQ(audio.creations().size(), 1u);
    EXPECT_EQ(entry(audio.creations()[0], "master"), R"("speakers")")
        << "a built-in clock before a Bluetooth one, and first among the subdevices";
    EXPECT_EQ(entry(audio.creations()[0], "subdevices"),
              R"([{uid: "speakers", drift: 0}, {uid: "headset", drift: 1, latency-out: 7938}, )"
              R"({uid: "usb", drift: 1, latency-out: 551}])");
    const auto first = multiOutputs();
    ASSERT_EQ(first.size(), 1u);
    EXPECT_EQ(audio.defaultOutput(), first[0]);
    // The inaudible, muted device is raised to 0.7 and unmuted; 0.05 is quiet but audible.
    EXPECT_EQ(audio.value<float>(speakers, kVolume), 0.7f);
    EXPECT_EQ(audio.value<std::uint32_t>(speakers, kMute), 0u);
    EXPECT_EQ(controller->volumes().at(speakers), 0.7f);
    EXPECT_EQ(audio.value<float>(usb, kVolume), 0.05f);

    // A delay committed while on changes the live device: the sound plays on.
    controller->setDelay(usb, 20);
    controller->commitDelays();
    EXPECT_EQ(audio.creations().size(), 1u);
    EXPECT_EQ(audio.value<double>(audio.subdeviceObjects(first[0])[2], kExtraLatency), 882);

    // Where the device does not take it in place, it is built anew: the sound goes back to the
    // speakers before the old device goes, and the new one is made once the old one is gone.
    audio.ignoreWrites(kAudioObjectUnknown, kExtraLatency);
    controller->setDelay(usb, 25);
    std::optional<ObjectID> defaultAtRemoval;
    audio.beforeNextCall(Call::destroy, [&] { defaultAtRemoval = audio.defaultOutput(); });
    controller->commitDelays();
    EXPECT_EQ(defaultAtRemoval, speakers);
    ASSERT_EQ(audio.creations().size(), 2u);
    EXPECT_EQ(entry(audio.creations()[1], "subdevices"),
              R"([{uid: "speakers", drift: 0}, {uid: "headset", drift: 1, latency-out: 7938}, )"
              R"({uid: "usb", drift: 1, latency-out: 1103}])");
    const auto second = multiOutputs();
    ASSERT_EQ(second.size(), 1u);
    EXPECT_EQ(audio.defaultOutput(), second[0]);

    defaultAtRemoval.reset();
    audio.beforeNextCall(Call::destroy, [&] { defaultAtRemoval = audio.defaultOutput(); });
    controller->deactivate();
    EXPECT_EQ(defaultAtRemoval, speakers) << "the previous default comes back first";
    EXPECT_TRUE(multiOutputs().empty());

    // The user picks the USB DAC while active: neither a rebuild nor switching off takes it away.
    controller->activate();
    audio.setDefaultOutput(usb);
    controller->commitDelays();
    EXPECT_EQ(audio.defaultOutput(), usb);
    controller->deactivate();
    EXPECT_EQ(audio.defaultOutput(), usb);
    EXPECT_TRUE(multiOutputs().empty());
}

TEST_F(Controller, AMemberThatReconnectsWhileActiveRejoinsWithItsDelayAndKeepsPlaying) {
    controller->toggle(headset);
    controller->toggle(speakers);
    controller->setDelay(headset, 250);
    controller->activate();
    ASSERT_TRUE(controller->isActive());

    // Back under another id: selected again, and the multi-output device took it back itself.
    audio.unplug(headset);
    deliverNotifications();
    EXPECT_EQ(controller->selected(), std::set<AudioDeviceID>{speakers});
    const auto back = audio.plug(device("headset", "Headset", kAudioDeviceTransportTypeBluetooth));
    deliverNotifications();
    EXPECT_EQ(controller->selected(), (std::set<AudioDeviceID>{speakers, back}));
    EXPECT_EQ(controller->delaysMs().at(back), 250);
    EXPECT_EQ(audio.creations().size(), 1u);

    // A delay edited just before it left reaches it when it returns, in place.
    controller->setDelay(back, 300);
    audio.unplug(back);
    deliverNotifications();
    controller->commitDelays();
    const auto again = audio.plug(device("headset", "Headset", kAudioDeviceTransportTypeBluetooth));
    deliverNotifications();
    EXPECT_EQ(audio.creations().size(), 1u);
    const auto live = multiOutputs();
    ASSERT_EQ(live.size(), 1u);
    EXPECT_EQ(audio.value<double>(audio.subdeviceObjects(live[0])[1], kExtraLatency), 13230);

    // Rebuilt while it was away (the device took no delay in place), it is built in again.
    audio.ignoreWrites(kAudioObjectUnknown, kExtraLatency);
    audio.unplug(again);
    deliverNotifications();
    controller->setDelay(speakers, 5);
    controller->commitDelays();
    EXPECT_EQ(controller->statusMessage(), QString::fromUtf8("Aktiv – Ton spielt auf 1 Geräten."));
    const auto third = audio.plug(device("headset", "Headset", kAudioDeviceTransportTypeBluetooth));
    deliverNotifications();
    EXPECT_EQ(controller->selected(), (std::set<AudioDeviceID>{speakers, third}));
    ASSERT_EQ(audio.creations().size(), 3u);
    EXPECT_EQ(entry(audio.creations()[2], "subdevices"),
              R"([{uid: "speakers", drift: 0, latency-out: 221}, )"
              R"({uid: "headset", drift: 1, latency-out: 13230}])");
    EXPECT_EQ(controller->statusMessage(), QString::fromUtf8("Aktiv – Ton spielt auf 2 Geräten."));

    // Switched off, nothing of it is remembered.
    controller->deactivate();
    audio.unplug(third);
    audio.plug(device("headset", "Headset", kAudioDeviceTransportTypeBluetooth));
    deliverNotifications();
    EXPECT_EQ(controller->selected(), std::set<AudioDeviceID>{speakers});
}

TEST_F(Controller, ARefusedDelayLeavesTheSoundAsItWasOrSwitchesOffCleanly) {
    controller->toggle(speakers);
    controller->toggle(usb);
    controller->activate();
    const auto playing = multiOutputs();
    ASSERT_EQ(playing.size(), 1u);

    // Beyond what the platform takes, or no number at all: refused, nothing changes.
    for (double refused : {60000.0, -1.0, std::nan("")})
        controller->setDelay(usb, refused);
    EXPECT_EQ(controller->delaysMs().at(usb), 0);
    EXPECT_EQ(audio.creations().size(), 1u);

    // The device takes no delay in place and the platform refuses it in a new one: the device
    // comes back as it was.
    audio.ignoreWrites(kAudioObjectUnknown, kExtraLatency);
    controller->setDelay(usb, 20);
    audio.failNext(Call::create, kAudio_ParamError);
    controller->commitDelays();
    EXPECT_TRUE(controller->isActive());
    ASSERT_EQ(audio.creations().size(), 3u);
    EXPECT_EQ(entry(audio.creations()[2], "subdevices"),
              R"([{uid: "speakers", drift: 0}, {uid: "usb", drift: 1}])");
    ASSERT_EQ(multiOutputs().size(), 1u);
    EXPECT_EQ(audio.defaultOutput(), multiOutputs()[0]);
    EXPECT_EQ(controller->delaysMs().at(usb), 0) << "the delay that plays";
    EXPECT_EQ(controller->statusMessage(),
              QString::fromUtf8("Verzögerung konnte nicht übernommen werden."));

    // Not even the old one can be made again: off, with the sound back on the speakers.
    controller->setDelay(usb, 20);
    audio.fail(Call::create, kAudio_ParamError);
    controller->commitDelays();
    EXPECT_FALSE(controller->isActive());
    EXPECT_TRUE(multiOutputs().empty());
    EXPECT_EQ(audio.defaultOutput(), speakers);
}

TEST_F(Controller, AFailedActivationLeavesNothingActiveAndNoDeviceBehind) {
    controller->toggle(speakers);
    controller->toggle(usb);
    audio.fail(Call::create, kAudio_ParamError);
    controller->activate();
    EXPECT_FALSE(controller->isActive());
    EXPECT_EQ(controller->statusMessage(),
              QString::fromUtf8("Multi-Output-Gerät konnte nicht erstellt werden."));
    EXPECT_TRUE(multiOutputs().empty());

    // Created, but the system refuses it as the default output: the device goes again.
    audio.clearFailures();
    audio.fail(Call::set, kAudioHardwareIllegalOperationError, kAudioObjectSystemObject);
    controller->activate();
    EXPECT_FALSE(controller->isActive());
    EXPECT_EQ(controller->statusMessage(),
              QString::fromUtf8("Audioausgabe konnte nicht umgeleitet werden."));
    EXPECT_EQ(audio.creations().size(), 2u);
    EXPECT_TRUE(multiOutputs().empty());
    EXPECT_EQ(audio.defaultOutput(), speakers);

    // Taken as a request but never carried out: just as refused.
    audio.clearFailures();
    audio.ignoreWrites(kAudioObjectSystemObject,
                       CoreAudioStandIn::global(kAudioHardwarePropertyDefaultOutputDevice));
    controller->activate();
    EXPECT_FALSE(controller->isActive());
    EXPECT_TRUE(multiOutputs().empty());
    EXPECT_EQ(audio.defaultOutput(), speakers);
}

TEST_F(Controller, ZonesSwitchOnSwitchOverAndOffAndQuittingLeavesNothingBehind) {
    const auto bedside = audio.plug(device("zz", "Zimmer", kAudioDeviceTransportTypeBluetooth));
    deliverNotifications();
    const Zone office{QUuid::createUuid(), "Büro", {"speakers", "gone", "usb"}, {}};
    const Zone bedroom{QUuid::createUuid(), "Schlafzimmer", {"zz", "headset"}, {}};

    controller->activateZone(office);
    EXPECT_TRUE(controller->isActive());
    EXPECT_EQ(controller->selected(), (std::set<AudioDeviceID>{speakers, usb}));
    EXPECT_EQ(controller->activeZoneID(), office.id);

    controller->activateZone(bedroom);
    EXPECT_TRUE(controller->isActive());
    EXPECT_EQ(controller->selected(), (std::set<AudioDeviceID>{headset, bedside}));
    EXPECT_EQ(controller->activeZoneID(), bedroom.id);
    EXPECT_EQ(multiOutputs().size(), 1u);
    EXPECT_EQ(entry(audio.creations().back(), "master"), R"("headset")")
        << "with only Bluetooth devices, the first in the list";
    const auto appleTV = audio.plug(device("tv", "Apple TV", kAudioDeviceTransportTypeAirPlay));
    deliverNotifications();
    controller->activateZone(Zone{QUuid::createUuid(), "Wohnzimmer", {"tv", "usb"}, {}});
    EXPECT_EQ(controller->selected(), (std::set<AudioDeviceID>{appleTV, usb}));
    EXPECT_EQ(entry(audio.creations().back(), "master"), R"("usb")") << "a wired clock leads";

    controller->activateZone(bedroom);
    controller->activateZone(bedroom);
    EXPECT_FALSE(controller->isActive());
    EXPECT_TRUE(multiOutputs().empty());
    EXPECT_EQ(audio.defaultOutput(), speakers);

    controller->activateZone(Zone{QUuid::createUuid(), "Keller", {"gone"}, {}});
    EXPECT_FALSE(controller->isActive());
    EXPECT_EQ(controller->statusMessage(),
              QString::fromUtf8("Zone „Keller“: keine Geräte verfügbar."));

    // Quitting while a zone plays restores the default and leaves no device behind.
    controller->activateZone(office);
    ASSERT_EQ(multiOutputs().size(), 1u);
    QTimer::singleShot(0, QCoreApplication::instance(), &QCoreApplication::quit);
    QCoreApplication::exec();
    EXPECT_FALSE(controller->isActive());
    EXPECT_EQ(audio.defaultOutput(), speakers);
    EXPECT_TRUE(multiOutputs().empty());
}
