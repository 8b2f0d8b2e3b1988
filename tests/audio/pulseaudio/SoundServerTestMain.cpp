#include "MultiOutputController.h"
#include "PulseAudioSystem.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <algorithm>

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    // The run a test kills: Brivello, active on the devices named after --activate.
    if (argc > 1 && qstrcmp(argv[1], "--activate") == 0) {
        PulseAudioSystem audio;
        MultiOutputController controller(audio);
        for (const auto& device : controller.devices())
            if (std::find(argv + 2, argv + argc, device.uid) != argv + argc)
                controller.toggle(device.id);
        controller.activate();
        return app.exec();
    }
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
