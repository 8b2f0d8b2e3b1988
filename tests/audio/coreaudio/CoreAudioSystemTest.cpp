#include "CoreAudioSystem.h"
#include "CoreAudioStandIn.h"
#include "MultiOutputController.h"

#include <QCoreApplication>
#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace coreaudio;

namespace {

const PropertyAddress kNominalRate =
    CoreAudioStandIn::global(kAudioDevicePropertyNominalSampleRate);

void deliverNotifications() {
    for (int i = 0; i < 3; ++i)
        QCoreApplication::processEvents();
}

} // namespace

// Brivello's device stays behind when a run ends without switching off; the next start gives the
// user's default back. Rates changed for it come back when it is switched off.
TEST(CoreAudioSystem, ACrashedRunsDefaultComesBackWithTheLeftoverGone) {
    CoreAudioStandIn audio;
    QTemporaryDir home;
    QSettings settings(home.filePath("brivello.ini"), QSettings::IniFormat);
    const auto speakers = audio.plug({.uid = "speakers", .rateRanges = {{44100, 48000}}});
    const auto usb = audio.plug({.uid = "usb", .rateRanges = {{48000, 48000}}});
    audio.setDefaultOutput(speakers);
    auto leftover = kAudioObjectUnknown;
    {
        CoreAudioSystem system(audio, &settings);
        MultiOutputController controller(system);
        controller.toggle(speakers);
        controller.toggle(usb);
        controller.activate();
        EXPECT_EQ(audio.value<double>(speakers, kNominalRate), 48000);
        EXPECT_EQ(settings.value(CoreAudioSystem::kPreviousDefaultKey), "speakers");
        controller.deactivate();
        deliverNotifications();
        EXPECT_EQ(audio.value<double>(speakers, kNominalRate), 44100);
        EXPECT_FALSE(settings.contains(CoreAudioSystem::kPreviousDefaultKey));

        controller.activate();
        leftover = audio.defaultOutput();
    } // gone without switching off
    ASSERT_NE(leftover, speakers);

    CoreAudioSystem system(audio, &settings);
    MultiOutputController controller(system);
    deliverNotifications();
    EXPECT_EQ(audio.defaultOutput(), speakers);
    EXPECT_EQ(audio.deviceList(), (std::vector<ObjectID>{speakers, usb}));
    EXPECT_FALSE(settings.contains(CoreAudioSystem::kPreviousDefaultKey));
}
