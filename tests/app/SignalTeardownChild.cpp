// A Brivello core over the in-memory Core Audio, switched on and left running until a signal
// ends it; it then reports what it left behind. Driven by the signal teardown test.
#include "CoreAudioStandIn.h"
#include "CoreAudioSystem.h"
#include "MultiOutputController.h"
#include "TerminationSignals.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    TerminationSignals stopSignals;

    CoreAudioStandIn audio;
    const auto speakers = audio.plug({.uid = "speakers", .name = "Speakers"});
    const auto headset = audio.plug({.uid = "headset", .name = "Headset"});
    audio.setDefaultOutput(speakers);
    CoreAudioSystem system(audio);
    MultiOutputController controller(system);
    controller.toggle(speakers);
    controller.toggle(headset);
    controller.activate();

    std::printf("ready active=%d default-is-speakers=%d\n", controller.isActive(),
                audio.defaultOutput() == speakers);
    std::fflush(stdout);
    QCoreApplication::exec();
    // Two devices: the multi-output device is gone.
    std::printf("ended active=%d default-is-speakers=%d devices=%zu\n", controller.isActive(),
                audio.defaultOutput() == speakers, audio.deviceList().size());
    return 0;
}
