#include "CoreAudioSystem.h"
#include "CoreAudioStandIn.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <memory>

using namespace coreaudio;
using Call = CoreAudioStandIn::Call;
using Mute = CoreAudioStandIn::Mute;

namespace {

const PropertyAddress kDeviceList = CoreAudioStandIn::global(kAudioHardwarePropertyDevices);
const PropertyAddress kMute = CoreAudioStandIn::output(kAudioDevicePropertyMute);

// Core Audio calls listeners on the main queue; here that is the Qt event loop.
class CoreAudioSystemListening : public testing::Test {
protected:
    void deliver() { QCoreApplication::processEvents(); }

    int argc = 1;
    char name[16] = "coreaudio_tests";
    char* argv[2] = {name, nullptr};
    QCoreApplication app{argc, argv};
};

} // namespace

// Switching itself is exercised through the controller; here what the controller cannot see.
TEST(CoreAudioSystem, AFailedDefaultOutputReadIsNoDeviceAndARefusalComesBackAsItIs) {
    CoreAudioStandIn audio;
    CoreAudioSystem system(audio);
    const auto speakers = audio.plug({.uid = "speakers"});
    audio.setDefaultOutput(speakers);
    EXPECT_EQ(system.setDefaultOutputDevice(4711), kAudioHardwareBadDeviceError);
    audio.fail(Call::getPropertyData, kAudioObjectSystemObject, kAudioHardwareUnspecifiedError);
    EXPECT_EQ(system.defaultOutputDevice(), kAudioObjectUnknown);
    EXPECT_EQ(audio.defaultOutput(), speakers);
}

TEST(CoreAudioSystem, UnmutesOnlyThroughASettableMainElementMute) {
    CoreAudioStandIn audio;
    CoreAudioSystem system(audio);
    const auto muted = audio.plug({.uid = "muted", .mute = Mute{1, true}});
    const auto locked = audio.plug({.uid = "locked", .mute = Mute{1, false}});
    const auto unknown = audio.plug({.uid = "unknown", .mute = Mute{1, true}});
    audio.fail(Call::isPropertySettable, unknown, kAudioHardwareUnspecifiedError);
    const auto withoutMute = audio.plug({.uid = "without"});

    system.unmute(muted);
    EXPECT_EQ(audio.value<std::uint32_t>(muted, kMute), 0u);
    system.unmute(locked);
    system.unmute(unknown);
    system.unmute(withoutMute);
    EXPECT_EQ(audio.value<std::uint32_t>(unknown, kMute), 1u);
    ASSERT_EQ(audio.writes().size(), 1u);
    EXPECT_EQ(audio.writes()[0].object, muted);
    EXPECT_EQ(audio.writes()[0].data.size(), 4u);
}

TEST_F(CoreAudioSystemListening, EachDeviceListChangeReachesTheCurrentListenerLater) {
    CoreAudioStandIn audio;
    CoreAudioSystem system(audio);
    int first = 0;
    int second = 0;
    system.setDeviceListListener([&] { ++first; });
    const auto speakers = audio.plug({.uid = "speakers"});
    EXPECT_EQ(first, 0); // never inside the platform call
    deliver();
    EXPECT_EQ(first, 1);

    // A new listener takes over the one registration; the old one hears nothing more.
    system.setDeviceListListener([&] { ++second; });
    EXPECT_EQ(audio.listenerCount(kAudioObjectSystemObject, kDeviceList), 1u);
    audio.unplug(speakers);
    audio.notifyDeviceListChanged();
    deliver();
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 2);

    // Creating and removing the multi-output device change the list as well.
    const auto headset = audio.plug({.uid = "headset"});
    const auto created = system.createMultiOutput({{headset, "headset", "H", {}}}, "headset", {});
    ASSERT_TRUE(created.has_value());
    system.removeDevice(*created);
    deliver();
    EXPECT_EQ(second, 5);

    system.setDeviceListListener({});
    audio.notifyDeviceListChanged();
    deliver();
    EXPECT_EQ(second, 5);
}

TEST_F(CoreAudioSystemListening, ANotificationArrivingAfterTheSystemIsGoneCallsNothing) {
    CoreAudioStandIn audio;
    int calls = 0;
    {
        auto system = std::make_unique<CoreAudioSystem>(audio);
        system->setDeviceListListener([&] { ++calls; });
        audio.notifyDeviceListChanged();
    }
    audio.notifyDeviceListChanged();
    deliver();
    EXPECT_EQ(calls, 0);
}
