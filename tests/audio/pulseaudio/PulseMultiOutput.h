#pragma once

#include "MultiOutputController.h"
#include "PrivateSoundServer.h"
#include "PulseAudioSystem.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>

// Runs the Qt event loop, where the backend hands over server events, until `done` holds or
// `milliseconds` have passed; whether it held.
inline bool waitUntil(const std::function<bool()>& done, int milliseconds) {
    QElapsedTimer timer;
    timer.start();
    while (!done() && timer.elapsed() < milliseconds) {
        QCoreApplication::processEvents();
        QThread::msleep(10);
    }
    return done();
}

inline void sleepMs(int milliseconds) {
    waitUntil([] { return false; }, milliseconds);
}

// Brivello's controller on a private server with the four typed devices.
class PulseMultiOutput : public ::testing::Test {
protected:
    static constexpr auto kSinkName = PulseAudioSystem::kSinkName;

    void SetUp() override { ASSERT_TRUE(server.start()); }

    // Brivello starting, these devices ticked, their device resting after `restAfter` of silence.
    void startBrivello(std::initializer_list<const char*> uids = {},
                       std::chrono::milliseconds restAfter = MultiOutputRest::kRestAfter) {
        audio = std::make_unique<PulseAudioSystem>(restAfter);
        controller = std::make_unique<MultiOutputController>(*audio);
        for (const char* uid : uids)
            controller->toggle(device(uid).id);
    }

    // The controller's device with that UID; id 0 when there is none.
    AudioOutputDevice device(const std::string& uid) {
        const auto& all = controller->devices();
        const auto it =
            std::find_if(all.begin(), all.end(), [&](const auto& d) { return d.uid == uid; });
        return it == all.end() ? AudioOutputDevice{} : *it;
    }

    // The sink's state as the server reports it: RUNNING, IDLE or SUSPENDED.
    QString sinkState(const QString& name) {
        for (const auto& line : server.list("sinks"))
            if (line.section('\t', 1, 1) == name)
                return line.section('\t', 4, 4);
        return {};
    }

    int loopbacks() {
        return static_cast<int>(server.list("modules").filter("module-loopback").size());
    }

    // Brivello's modules and sinks, including the NAME.2 a server makes of a clashing name.
    bool leftovers() {
        const auto all = (server.list("modules") + server.list("sinks")).join('\n');
        return all.contains(kSinkName) || all.contains(PulseAudioSystem::kMarkerProperty);
    }

    PrivateSoundServer server;
    std::unique_ptr<PulseAudioSystem> audio;
    std::unique_ptr<MultiOutputController> controller;
};
