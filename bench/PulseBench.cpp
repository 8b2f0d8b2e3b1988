// Measures the PulseAudio backend on a private server: activate and deactivate through the
// controller against the raw server operations they wrap, and the server's CPU while the
// multi-output device is active, silent and playing, next to module-combine-sink.
// Built with the tests, never run by ctest: run build-*/bench/pulseaudio_bench by hand.

#include "BenchServer.h"
#include "MultiOutputController.h"
#include "PulseAudioSystem.h"
#include "PulseConnection.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QThread>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <optional>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
constexpr int kRuns = 10;
constexpr int kCpuWindowMs = 10000;
const std::vector<std::string> kMembers{"bt_speaker", "usb_dac"};

struct Spread {
    double median = 0;
    double min = 0;
    double max = 0;
};

Spread spread(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return {values[values.size() / 2], values.front(), values.back()};
}

void printTiming(const char* what, const std::vector<double>& ms) {
    const auto s = spread(ms);
    std::printf("  %-44s median %7.2f ms  (min %7.2f, max %7.2f)\n", what, s.median, s.min, s.max);
}

double msSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

void pump(int ms) {
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < ms) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(5);
    }
}

// A 440 Hz tone into the default output until stopped: a file made by sox, played by paplay.
std::unique_ptr<QProcess> playTone(const QString& file) {
    if (!QFile::exists(file))
        QProcess::execute("sox", {"-q", "-n", "-r", "44100", "-c", "2", "-b", "16", file, "synth",
                                  "60", "sine", "440", "gain", "-6"});
    auto player = std::make_unique<QProcess>();
    player->start("paplay", {file});
    player->waitForStarted();
    pump(700);
    return player;
}

void stopTone(std::unique_ptr<QProcess>& player) {
    if (!player)
        return;
    player->kill(); // the player we started, by its own process id
    player->waitForFinished(2000);
    player.reset();
    pump(300);
}

std::optional<double> serverCpuPercent(const BenchServer& server) {
    const auto before = server.cpuSeconds();
    const auto start = Clock::now();
    pump(kCpuWindowMs);
    const auto after = server.cpuSeconds();
    if (!before || !after)
        return std::nullopt;
    return (*after - *before) / (msSince(start) / 1000.0) * 100.0;
}

void printCpu(const char* what, std::optional<double> percent) {
    if (percent)
        std::printf("  %-44s %6.2f %% of one core\n", what, *percent);
    else
        std::printf("  %-44s unreadable\n", what);
}

std::vector<AudioDeviceID> memberIDs(const MultiOutputController& controller) {
    std::vector<AudioDeviceID> ids;
    for (const auto& uid : kMembers)
        for (const auto& device : controller.devices())
            if (device.uid == uid)
                ids.push_back(device.id);
    return ids;
}

void benchController(const BenchServer& server, const QString& toneFile) {
    PulseAudioSystem audio;
    MultiOutputController controller(audio);
    const auto ids = memberIDs(controller);
    if (ids.size() != kMembers.size()) {
        std::printf("  the typed devices are missing\n");
        return;
    }
    for (auto id : ids)
        controller.toggle(id);
    controller.setDelay(ids.front(), 180.0);

    std::vector<double> activate, deactivate, rebuild;
    for (int run = 0; run < kRuns; ++run) {
        auto start = Clock::now();
        controller.activate();
        activate.push_back(msSince(start));
        pump(50);
        start = Clock::now();
        controller.deactivate();
        deactivate.push_back(msSince(start));
        pump(50);
    }
    controller.activate();
    for (int run = 0; run < kRuns; ++run) {
        controller.setDelay(ids.front(), 150.0 + run);
        const auto start = Clock::now();
        controller.commitDelays();
        rebuild.push_back(msSince(start));
        pump(50);
    }
    controller.deactivate();
    pump(100);

    // The backend's share alone: what the controller adds is its volume and default handling.
    std::vector<AudioOutputDevice> members;
    for (const auto& device : controller.devices())
        if (std::find(ids.begin(), ids.end(), device.id) != ids.end())
            members.push_back(device);
    const auto frames = controller.latencyFrames();
    std::vector<double> create, remove;
    for (int run = 0; run < kRuns; ++run) {
        auto start = Clock::now();
        const auto created = audio.createMultiOutput(members, members.front().uid, frames);
        create.push_back(msSince(start));
        pump(50);
        start = Clock::now();
        if (created)
            audio.removeDevice(*created);
        remove.push_back(msSince(start));
        pump(50);
    }
    printTiming("createMultiOutput (backend alone)", create);
    printTiming("removeDevice (backend alone)", remove);
    printTiming("activate (controller, 2 devices)", activate);
    printTiming("deactivate (controller)", deactivate);
    printTiming("delay change while active (controller)", rebuild);

    std::printf("\nServer CPU, 2 devices, loopback design (chosen):\n");
    printCpu("no Brivello device", serverCpuPercent(server));
    controller.activate();
    pump(300);
    printCpu("active, silent", serverCpuPercent(server));
    auto tone = playTone(toneFile);
    printCpu("active, 440 Hz playing", serverCpuPercent(server));
    stopTone(tone);
    controller.deactivate();
    pump(300);

    std::printf("\nServer CPU, all 4 devices, loopback design:\n");
    for (const auto& device : controller.devices())
        if (!controller.selected().contains(device.id))
            controller.toggle(device.id);
    controller.activate();
    pump(300);
    printCpu("active, silent", serverCpuPercent(server));
    tone = playTone(toneFile);
    printCpu("active, 440 Hz playing", serverCpuPercent(server));
    stopTone(tone);
    controller.deactivate();
    pump(300);
}

void benchRawOperations() {
    PulseConnection connection([](PulseConnection::Event) {});
    if (!connection.connect(std::chrono::milliseconds(2000))) {
        std::printf("  no connection\n");
        return;
    }
    std::vector<double> create, remove;
    for (int run = 0; run < kRuns; ++run) {
        const auto previous = connection.defaultSinkName().value_or(kMembers.front());
        auto start = Clock::now();
        const auto sink = connection.loadModule("module-null-sink", "sink_name=bench.raw");
        std::vector<std::uint32_t> loopbacks;
        for (std::size_t i = 0; i < kMembers.size(); ++i) {
            const auto latency = i == 0 ? 240 : 60;
            if (auto loopback = connection.loadModule(
                    "module-loopback", "source=bench.raw.monitor sink=" + kMembers[i] +
                                           " latency_msec=" + std::to_string(latency) +
                                           " source_dont_move=true sink_dont_move=true"))
                loopbacks.push_back(*loopback);
        }
        connection.setDefaultSink("bench.raw");
        create.push_back(msSince(start));
        pump(50);
        start = Clock::now();
        connection.setDefaultSink(previous);
        for (auto loopback : loopbacks)
            connection.unloadModule(loopback);
        if (sink)
            connection.unloadModule(*sink);
        remove.push_back(msSince(start));
        pump(50);
    }
    printTiming("raw: null sink + 2 loopbacks + default", create);
    printTiming("raw: default back + unload 3 modules", remove);
}

void benchCombineSink(const BenchServer& server, const QString& toneFile) {
    PulseConnection connection([](PulseConnection::Event) {});
    if (!connection.connect(std::chrono::milliseconds(2000)))
        return;
    const auto previous = connection.defaultSinkName().value_or(kMembers.front());
    const auto combine = connection.loadModule(
        "module-combine-sink", "sink_name=bench.combine slaves=" + kMembers[0] + "," + kMembers[1]);
    if (!combine) {
        std::printf("  module-combine-sink did not load\n");
        return;
    }
    connection.setDefaultSink("bench.combine");
    pump(300);
    std::printf("\nServer CPU, 2 devices, module-combine-sink (no per-device delay):\n");
    printCpu("active, silent", serverCpuPercent(server));
    auto tone = playTone(toneFile);
    printCpu("active, 440 Hz playing", serverCpuPercent(server));
    stopTone(tone);
    connection.setDefaultSink(previous);
    connection.unloadModule(*combine);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    BenchServer server;
    if (!server.start()) {
        std::fprintf(stderr, "could not start the private sound server\n");
        return 1;
    }
    std::printf("Private PulseAudio, typed null sinks, %d runs each\n\n", kRuns);
    std::printf("Activation and deactivation:\n");
    benchRawOperations();
    benchController(server, server.filePath("tone.wav"));
    benchCombineSink(server, server.filePath("tone.wav"));
    server.stop();
    return 0;
}
