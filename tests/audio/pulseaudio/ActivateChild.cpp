#include "MultiOutputController.h"
#include "PulseAudioSystem.h"

#include <QCoreApplication>

#include <cstdio>
#include <string>

// Activates Brivello's multi-output device on the devices named by the arguments (sink names),
// says "active" and runs until it is killed: the test kills it with SIGKILL.
int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    PulseAudioSystem audio;
    MultiOutputController controller(audio);
    for (int i = 1; i < argc; ++i)
        for (const auto& device : controller.devices())
            if (device.uid == argv[i])
                controller.toggle(device.id);
    controller.activate();
    std::printf(controller.isActive() ? "active\n" : "failed\n");
    std::fflush(stdout);
    return app.exec();
}
