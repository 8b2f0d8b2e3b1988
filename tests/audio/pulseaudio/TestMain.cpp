#include <QCoreApplication>

#include <gtest/gtest.h>

// The backend hands server events to the main thread through Qt's event loop.
int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
