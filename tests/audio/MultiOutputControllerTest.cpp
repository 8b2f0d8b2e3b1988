#include "MultiOutputController.h"
#include "CoreAudioHAL.h"
#include "CoreAudioStandIn.h"
#include "CoreAudioSystem.h"
#include "Zone.h"

#include <QCoreApplication>
#include <QTimer>

#include <gtest/gtest.h>

#include <memory>

// The controller on top of the real Core Audio algorithms, over the in-memory Core Audio.

using namespace coreaudio;
using Call = CoreAudioStandIn::Call;
using Device = CoreAudioStandIn::Device;

namespace {

constexpr const char* kMultiOutputUID = "de.tandrel.brivello.multioutput";

Device device(const char* uid, const char* name, std::uint32_t transport, float volume = 0.5f) {
    return {.uid = uid,
            .name = name,
            .transport = transport,
            .mainVolume = CoreAudioStandIn::Volume{volume, true},
            .mute = CoreAudioStandIn::Mute{0, true},
            .rateRanges = {{44100, 44100}}};
}

std::vector<ObjectID> liveMultiOutputs(CoreAudioStandIn& audio) {
    std::vector<ObjectID> result;
    for (auto id : audio.deviceList()) {
        std::optional<std::string> uid;
        if (audio.getStringProperty(id, CoreAudioStandIn::global(kAudioDevicePropertyDeviceUID),
                                    uid) == 0 &&
            uid == kMultiOutputUID)
            result.push_back(id);
    }
    return result;
}

// The subdevice entries of a creation, as uid → latency-out (absent when none was given).
std::map<std::string, std::optional<std::int64_t>> latencies(const DescriptionDictionary& d) {
    std::map<std::string, std::optional<std::int64_t>> result;
    for (const auto& sub : std::get<DescriptionArray>(find(d, "subdevices")->value)) {
        const auto& entries = std::get<DescriptionDictionary>(sub.value);
        const auto* latency = find(entries, "latency-out");
        result[std::get<std::string>(find(entries, "uid")->value)] =
            latency ? std::optional(std::get<std::int64_t>(latency->value)) : std::nullopt;
    }
    return result;
}

std::string master(const DescriptionDictionary& d) {
    return std::get<std::string>(find(d, "master")->value);
}

void deliverNotifications() {
    for (int i = 0; i < 3; ++i)
        QCoreApplication::processEvents();
}

// Records whether the device list was first read before or after the leftover was removed.
class ObservingStandIn : public CoreAudioStandIn {
public:
    Status getPropertyDataSize(ObjectID object, const PropertyAddress& address,
                               std::uint32_t& size) override {
        if (address.selector == kAudioDevicePropertyStreams && !removalsAtFirstStreamQuery)
            removalsAtFirstStreamQuery = removals().size();
        return CoreAudioStandIn::getPropertyDataSize(object, address, size);
    }
    std::optional<std::size_t> removalsAtFirstStreamQuery;
};

class Controller : public testing::Test {
protected:
    void SetUp() override {
        speakers = audio.plug(device("speakers", "Speakers", kAudioDeviceTransportTypeBuiltIn));
        headset = audio.plug(device("headset", "Headset", kAudioDeviceTransportTypeBluetooth));
        usb = audio.plug(device("usb", "USB DAC", kAudioDeviceTransportTypeUSB));
        audio.setDefaultOutput(speakers);
    }
    std::unique_ptr<MultiOutputController> start() {
        auto controller = std::make_unique<MultiOutputController>(system);
        deliverNotifications(); // the plugs above were announced too
        audio.clearRecords();
        return controller;
    }

    CoreAudioStandIn audio;
    CoreAudioSystem system{audio};
    ObjectID speakers = 0, headset = 0, usb = 0;
};

} // namespace

TEST(ControllerStartUp, RemovesALeftoverBeforeReadingAndGivesEveryDeviceItsFirstSettings) {
    ObservingStandIn audio;
    ObjectID leftover = 0;
    audio.createAggregateDevice({{"name", "Brivello Multi-Output"}, {"uid", kMultiOutputUID}},
                                leftover);
    const auto builtIn = audio.plug(device("a", "Speakers", kAudioDeviceTransportTypeBuiltIn, .6f));
    const auto bluetooth =
        audio.plug(device("b", "Box", kAudioDeviceTransportTypeBluetoothLE, .4f));
    auto usbWithoutVolume = device("c", "DAC", kAudioDeviceTransportTypeUSB);
    usbWithoutVolume.mainVolume.reset();
    const auto usb = audio.plug(usbWithoutVolume);
    CoreAudioSystem system(audio);

    MultiOutputController controller(system);

    EXPECT_EQ(audio.removals(), std::vector<ObjectID>{leftover});
    EXPECT_EQ(audio.removalsAtFirstStreamQuery, 1u);
    ASSERT_EQ(controller.devices().size(), 3u);
    EXPECT_EQ(controller.devices()[0].name, "Box");
    EXPECT_EQ(controller.devices()[2].name, "Speakers");
    EXPECT_TRUE(controller.selected().empty());
    EXPECT_EQ(controller.volumes(),
              (std::map<AudioDeviceID, float>{{builtIn, .6f}, {bluetooth, .4f}, {usb, 1.0f}}));
    EXPECT_EQ(controller.delaysMs(),
              (std::map<AudioDeviceID, double>{{builtIn, 0}, {bluetooth, 180}, {usb, 0}}));
    EXPECT_FALSE(controller.isActive());
    EXPECT_FALSE(controller.canActivate());
    EXPECT_FALSE(controller.statusMessage());
}

TEST_F(Controller, KeepsAUsersDelayForADeviceThatGoesAwayAndComesBack) {
    auto controller = start();
    std::vector<bool> canActivate;
    QObject::connect(controller.get(), &MultiOutputController::canActivateChanged,
                     [&] { canActivate.push_back(controller->canActivate()); });
    controller->toggle(headset);
    controller->toggle(speakers);
    controller->setDelay(headset, 250);

    // The headset drops out of the list (its streams vanish) and returns under the same id.
    const auto streams = CoreAudioStandIn::output(kAudioDevicePropertyStreams);
    audio.fail(Call::getPropertyDataSize, headset, streams, kAudioHardwareBadDeviceError);
    audio.notifyDeviceListChanged();
    deliverNotifications();
    EXPECT_EQ(controller->devices().size(), 2u);
    EXPECT_EQ(controller->selected(), std::set<AudioDeviceID>{speakers});
    EXPECT_EQ(controller->delaysMs().at(headset), 250);

    audio.clearFailures();
    audio.setValue(headset, CoreAudioStandIn::output(kAudioDevicePropertyVolumeScalar), .9f, true);
    audio.notifyDeviceListChanged();
    deliverNotifications();
    EXPECT_EQ(controller->devices().size(), 3u);
    EXPECT_EQ(controller->delaysMs().at(headset), 250);
    EXPECT_EQ(controller->volumes().at(headset), .5f) << "a refresh never overwrites a volume";
    EXPECT_EQ(controller->selected(), std::set<AudioDeviceID>{speakers});

    // Selection is locked while active.
    controller->activate();
    controller->toggle(usb);
    EXPECT_EQ(controller->selected(), std::set<AudioDeviceID>{speakers});
    // Whoever enables the switch heard each flip, and only the flips.
    EXPECT_EQ(canActivate, (std::vector<bool>{true, false}));
}

TEST_F(Controller, ActivationBuildsTheDeviceMakesItTheDefaultAndEverySelectedDeviceAudible) {
    const auto quiet =
        audio.plug(device("quiet", "Werkstatt", kAudioDeviceTransportTypeUSB, 0.02f));
    audio.setValue(quiet, CoreAudioStandIn::output(kAudioDevicePropertyMute), std::uint32_t{1},
                   true);
    const auto volume = CoreAudioStandIn::output(kAudioDevicePropertyVolumeScalar);
    audio.setValue(usb, volume, 0.05f, true); // quiet, but not too quiet
    auto controller = start();
    for (auto id : {speakers, headset, usb, quiet})
        controller->toggle(id);
    controller->setDelay(usb, 12.5);
    controller->setDelay(quiet, 0);

    // Absolute frames at the common rate; devices without a delay have no key.
    EXPECT_EQ(controller->latencyFrames(),
              (std::map<std::string, double>{{"usb", 551.25}, {"headset", 7938.0}}));
    controller->activate();

    ASSERT_TRUE(controller->isActive());
    ASSERT_EQ(audio.creations().size(), 1u);
    const auto& created = audio.creations()[0];
    EXPECT_EQ(master(created), "speakers") << "the first selected device that is not Bluetooth";
    EXPECT_EQ(
        latencies(created),
        (std::map<std::string, std::optional<std::int64_t>>{
            {"quiet", std::nullopt}, {"headset", 7938}, {"speakers", std::nullopt}, {"usb", 551}}));
    const auto multi = liveMultiOutputs(audio);
    ASSERT_EQ(multi.size(), 1u);
    EXPECT_EQ(audio.defaultOutput(), multi[0]);
    EXPECT_EQ(controller->statusMessage(), QString::fromUtf8("Aktiv – Ton spielt auf 4 Geräten."));
    EXPECT_FALSE(controller->canActivate());

    // The silent, muted device is raised to 0.7 and unmuted; the others keep their level.
    const auto mute = CoreAudioStandIn::output(kAudioDevicePropertyMute);
    EXPECT_EQ(audio.value<float>(quiet, volume), 0.7f);
    EXPECT_EQ(controller->volumes().at(quiet), 0.7f);
    EXPECT_EQ(audio.value<std::uint32_t>(quiet, mute), 0u);
    EXPECT_EQ(controller->volumes().at(usb), 0.05f);
    EXPECT_TRUE(audio.writesTo(usb, volume).empty());

    // The slider at 0 mutes nothing back, and leaves a muted device muted; above 0 it unmutes.
    audio.setValue(quiet, mute, std::uint32_t{1}, true);
    const AudioOutputDevice workshop{quiet, "quiet", "Werkstatt", {}};
    controller->setVolume(0.0f, workshop);
    EXPECT_EQ(audio.value<std::uint32_t>(quiet, mute), 1u);
    controller->setVolume(0.3f, workshop);
    EXPECT_EQ(audio.value<std::uint32_t>(quiet, mute), 0u);
    EXPECT_EQ(audio.value<float>(quiet, volume), 0.3f);
}

TEST_F(Controller, BluetoothOnlySelectionsAreClockedByTheFirstInListOrder) {
    const auto second = audio.plug(device("zz", "Zimmer", kAudioDeviceTransportTypeBluetooth));
    auto controller = start();
    controller->toggle(second);
    controller->toggle(headset);
    controller->activate();
    ASSERT_EQ(audio.creations().size(), 1u);
    EXPECT_EQ(master(audio.creations()[0]), "headset");
}

TEST_F(Controller, AFailedActivationLeavesNothingActiveAndNoDeviceBehind) {
    auto controller = start();
    controller->toggle(speakers);
    controller->toggle(usb);

    audio.fail(Call::createAggregateDevice, kAudio_ParamError);
    testing::internal::CaptureStdout();
    controller->activate();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Brivello: AudioHardwareCreateAggregateDevice failed (-50)\n");
    EXPECT_FALSE(controller->isActive());
    EXPECT_EQ(controller->statusMessage(),
              QString::fromUtf8("Multi-Output-Gerät konnte nicht erstellt werden."));
    EXPECT_TRUE(liveMultiOutputs(audio).empty());
    EXPECT_EQ(audio.defaultOutput(), speakers);

    // Created, but the system refuses the new default: the device goes again.
    audio.clearFailures();
    audio.fail(Call::setPropertyData, kAudioObjectSystemObject,
               CoreAudioStandIn::global(kAudioHardwarePropertyDefaultOutputDevice),
               kAudioHardwareIllegalOperationError);
    controller->activate();
    EXPECT_FALSE(controller->isActive());
    EXPECT_EQ(controller->statusMessage(),
              QString::fromUtf8("Audioausgabe konnte nicht umgeleitet werden."));
    EXPECT_EQ(audio.creations().size(), 2u);
    EXPECT_EQ(audio.removals().size(), 1u);
    EXPECT_TRUE(liveMultiOutputs(audio).empty());
    EXPECT_EQ(audio.defaultOutput(), speakers);
    EXPECT_TRUE(controller->canActivate()) << "the user can try again";
}

TEST_F(Controller, DeactivationPutsThePreviousDefaultBackBeforeRemovingTheDevice) {
    auto controller = start();
    controller->toggle(headset);
    controller->toggle(usb);
    controller->activate();
    const auto multi = liveMultiOutputs(audio);
    ASSERT_EQ(multi.size(), 1u);

    std::optional<ObjectID> defaultAtRemoval;
    audio.beforeNextCall(Call::destroyAggregateDevice,
                         [&] { defaultAtRemoval = audio.defaultOutput(); });
    controller->deactivate();

    EXPECT_EQ(defaultAtRemoval, speakers);
    EXPECT_EQ(audio.removals(), multi);
    EXPECT_FALSE(controller->isActive());
    EXPECT_FALSE(controller->statusMessage());
    EXPECT_EQ(controller->selected(), (std::set<AudioDeviceID>{headset, usb}));
    EXPECT_TRUE(controller->canActivate());
}

TEST_F(Controller, ACommittedDelayRebuildsTheActiveDeviceWithTheNewLatency) {
    auto controller = start();
    controller->toggle(speakers);
    controller->toggle(usb);
    controller->setDelay(usb, 100);
    controller->commitDelays();
    EXPECT_TRUE(audio.creations().empty()) << "while inactive a delay waits for activation";

    controller->activate();
    const auto status = controller->statusMessage();
    const auto first = liveMultiOutputs(audio);
    ASSERT_EQ(latencies(audio.creations().at(0))["usb"], 4410);

    controller->setDelay(usb, 20);
    controller->commitDelays();
    ASSERT_EQ(audio.creations().size(), 2u);
    EXPECT_EQ(latencies(audio.creations()[1])["usb"], 882);
    const auto second = liveMultiOutputs(audio);
    ASSERT_EQ(second.size(), 1u);
    EXPECT_NE(second, first);
    EXPECT_EQ(audio.defaultOutput(), second[0]);
    EXPECT_TRUE(controller->isActive());
    EXPECT_EQ(controller->statusMessage(), status);

    // The rebuilt device is the one deactivation removes, and the first default comes back.
    controller->deactivate();
    EXPECT_TRUE(liveMultiOutputs(audio).empty());
    EXPECT_EQ(audio.defaultOutput(), speakers);
}

TEST_F(Controller, EveryDeviceListNotificationRefreshesOnceInALaterTurn) {
    auto controller = start();
    int refreshes = 0;
    bool consistent = true;
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

    audio.notifyDeviceListChanged();
    audio.notifyDeviceListChanged();
    EXPECT_EQ(refreshes, 0);
    deliverNotifications();
    EXPECT_EQ(refreshes, 2);

    // A selected device unplugged while active: still active, gone from the selection.
    controller->toggle(speakers);
    controller->toggle(usb);
    controller->activate();
    deliverNotifications();
    audio.unplug(usb);
    audio.plug({.uid = "late", .name = "Später"});
    deliverNotifications();
    EXPECT_TRUE(consistent);
    EXPECT_TRUE(controller->isActive());
    EXPECT_EQ(controller->selected(), std::set<AudioDeviceID>{speakers});
    controller->deactivate();
    EXPECT_EQ(audio.defaultOutput(), speakers);

    // A notification that arrives after the controller is gone finds nothing to do.
    audio.notifyDeviceListChanged();
    controller.reset();
    deliverNotifications();
}

TEST_F(Controller, ZonesActivateTheirPresentDevicesToggleAndSwitchInOneStep) {
    auto controller = start();
    const Zone office{QUuid::createUuid(), "Büro", {"speakers", "gone", "usb", "usb"}, {}};
    const Zone kitchen{QUuid::createUuid(), "Küche", {"headset"}, {}};
    const Zone empty{QUuid::createUuid(), "Keller", {"gone"}, {}};
    EXPECT_TRUE(controller->zoneIsAvailable(office));
    EXPECT_FALSE(controller->zoneIsAvailable(empty));
    EXPECT_FALSE(controller->zoneIsAvailable(Zone{QUuid::createUuid(), "Leer", {}, {}}));

    controller->activateZone(office);
    EXPECT_TRUE(controller->isActive());
    EXPECT_EQ(controller->selected(), (std::set<AudioDeviceID>{speakers, usb}));
    EXPECT_EQ(controller->activeZoneID(), office.id);
    EXPECT_EQ(latencies(audio.creations().at(0)).size(), 2u);

    // Another zone moves the sound over in one step.
    controller->activateZone(kitchen);
    EXPECT_TRUE(controller->isActive());
    EXPECT_EQ(controller->selected(), std::set<AudioDeviceID>{headset});
    EXPECT_EQ(controller->activeZoneID(), kitchen.id);
    EXPECT_EQ(liveMultiOutputs(audio).size(), 1u);
    EXPECT_EQ(audio.creations().size(), 2u);

    // The same zone again switches it off.
    controller->activateZone(kitchen);
    EXPECT_FALSE(controller->isActive());
    EXPECT_FALSE(controller->activeZoneID());
    EXPECT_FALSE(controller->statusMessage());
    EXPECT_TRUE(liveMultiOutputs(audio).empty());
    EXPECT_EQ(audio.defaultOutput(), speakers);

    // A zone none of whose devices is here says so and changes nothing else.
    controller->activateZone(empty);
    EXPECT_FALSE(controller->isActive());
    EXPECT_EQ(controller->statusMessage(),
              QString::fromUtf8("Zone „Keller“: keine Geräte verfügbar."));
    EXPECT_EQ(controller->selected(), std::set<AudioDeviceID>{headset});

    // A plain activation is switched off by any zone, since it belongs to none.
    controller->activate();
    controller->activateZone(office);
    EXPECT_EQ(controller->activeZoneID(), office.id);
}

TEST_F(Controller, QuittingWhileActiveRestoresTheDefaultAndLeavesNoDevice) {
    auto controller = start();
    controller->toggle(speakers);
    controller->toggle(headset);
    controller->activate();
    ASSERT_EQ(liveMultiOutputs(audio).size(), 1u);

    QTimer::singleShot(0, QCoreApplication::instance(), &QCoreApplication::quit);
    QCoreApplication::exec();

    EXPECT_FALSE(controller->isActive());
    EXPECT_EQ(audio.defaultOutput(), speakers);
    EXPECT_TRUE(liveMultiOutputs(audio).empty());
}

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    QCoreApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
