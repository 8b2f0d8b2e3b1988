#include <QGuiApplication>

#include <cstdio>

#include <gtest/gtest.h>

#ifndef Q_OS_DARWIN
#include "PrivateSessionBus.h"
#endif

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
#ifndef Q_OS_DARWIN
    // The session bus is this test's own before anything connects to one: no portal of the
    // machine answers, and the stand-in portals register there.
    PrivateSessionBus bus;
    if (!bus.start()) {
        std::fprintf(stderr, "appearance tests: dbus-daemon did not start\n");
        return 1;
    }
    qputenv("DBUS_SESSION_BUS_ADDRESS", bus.address());
#endif
    QGuiApplication app(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
