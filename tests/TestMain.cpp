// The main of every test program without one of its own: the code under test posts events,
// uses timers and sockets, so an application object is there for all of them.
#include <QCoreApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    QCoreApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
