#include "MultiOutputController.h"
#include "PrivateSoundServer.h"
#include "PulseAudioSystem.h"
#include "PulseConnection.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QThread>
#include <QTimer>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <vector>

// Times activation and deactivation through the controller against the raw server operations
// they wrap, the server's CPU while Brivello's multi-output device is active, with and without
// sound, next to a combine sink carrying the same sound, and the longest the main thread is
// blocked when switching off and quitting with the server stopped (SIGSTOP). Runs on a private
// server.
namespace {

using Clock = std::chrono::steady_clock;
constexpr int kRounds = 10;

double medianMs(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double timeMs(const std::function<void()>& work) {
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// The server's CPU share (percent of one core) over `seconds`, from /proc.
double cpuPercent(const QString& pid, double seconds) {
    auto ticks = [&] {
        QFile stat("/proc/" + pid + "/stat");
        if (!stat.open(QIODevice::ReadOnly))
            return 0.0;
        const auto fields = QString::fromUtf8(stat.readAll()).section(')', 1).split(' ');
        return fields.value(12).toDouble() + fields.value(13).toDouble(); // utime, stime
    };
    const double before = ticks();
    QThread::msleep(static_cast<unsigned long>(seconds * 1000));
    return (ticks() - before) / static_cast<double>(sysconf(_SC_CLK_TCK)) / seconds * 100.0;
}

// The longest single turn of the event loop while `action` runs in it and the loop goes on for
// `seconds` more: what the user would see as a frozen window.
double longestBlockMs(const std::function<void()>& action, double seconds) {
    QTimer::singleShot(0, action);
    double longest = 0;
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    while (Clock::now() < end) {
        longest = std::max(longest, timeMs([] { QCoreApplication::processEvents(); }));
        QThread::msleep(5);
    }
    return longest;
}

void startSound(QProcess& player, const QString& sink = {}) {
    QString device = sink.isEmpty() ? QString() : " --device=" + sink;
    player.start("sh", {"-c", "sox -n -r 48000 -c 2 -b 16 -t wav - synth 60 sine 440 vol 0.3 | "
                              "pacat --file-format=wav" +
                                  device});
    player.waitForStarted();
    QThread::msleep(500);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    PrivateSoundServer server;
    if (!server.start()) {
        std::fprintf(stderr, "private sound server did not start\n");
        return 1;
    }
    QFile pidFile(server.directory() + "/pid");
    pidFile.open(QIODevice::ReadOnly);
    const QString pid = QString::fromUtf8(pidFile.readAll()).trimmed();

    auto audioSystem = std::make_unique<PulseAudioSystem>();
    auto controllerObject = std::make_unique<MultiOutputController>(*audioSystem);
    auto& controller = *controllerObject;
    auto selectTwo = [&] {
        for (const auto& device : controller.devices())
            if ((device.uid == "usb_dac" || device.uid == "bt_speaker") &&
                !controller.selected().contains(device.id))
                controller.toggle(device.id);
    };
    selectTwo();

    std::vector<double> activate, deactivate, rebuild, rawLoad, rawUnload;
    for (int i = 0; i < kRounds; ++i) {
        activate.push_back(timeMs([&] { controller.activate(); }));
        controller.setDelay(*controller.selected().begin(), 20.0 * (i % 2));
        rebuild.push_back(timeMs([&] { controller.commitDelays(); }));
        deactivate.push_back(timeMs([&] { controller.deactivate(); }));
    }
    PulseConnection raw([](PulseConnection::Event) {});
    raw.connect(std::chrono::milliseconds(1000));
    for (int i = 0; i < kRounds; ++i) {
        std::vector<std::uint32_t> modules;
        rawLoad.push_back(timeMs([&] {
            modules.push_back(*raw.loadModule("module-null-sink", "sink_name=bench"));
            for (const char* sink : {"usb_dac", "bt_speaker"})
                modules.push_back(*raw.loadModule(
                    "module-loopback",
                    std::string("source=bench.monitor latency_msec=60 sink=") + sink));
            raw.setDefaultSink("bench");
        }));
        rawUnload.push_back(timeMs([&] {
            raw.setDefaultSink("usb_dac");
            for (auto it = modules.rbegin(); it != modules.rend(); ++it)
                raw.unloadModule(*it);
        }));
    }
    std::printf("two devices, median of %d rounds\n", kRounds);
    std::printf("  activate:   %6.1f ms   raw null sink + 2 loopbacks + default: %6.1f ms\n",
                medianMs(activate), medianMs(rawLoad));
    std::printf("  deactivate: %6.1f ms   raw default + unloads:                 %6.1f ms\n",
                medianMs(deactivate), medianMs(rawUnload));
    std::printf("  committed delay while active (rebuild): %6.1f ms\n", medianMs(rebuild));

    const double seconds = 5.0;
    std::printf("server CPU (%% of one core over %.0f s)\n", seconds);
    std::printf("  idle, nothing active:            %5.2f\n", cpuPercent(pid, seconds));
    {
        QProcess player;
        startSound(player, "usb_dac");
        std::printf("  sound to one device directly:    %5.2f\n", cpuPercent(pid, seconds));
        player.kill();
        player.waitForFinished();
    }
    controller.activate();
    QThread::msleep(500);
    std::printf("  Brivello active, silence:        %5.2f\n", cpuPercent(pid, seconds));
    {
        QProcess player;
        startSound(player);
        std::printf("  Brivello active, sound playing:  %5.2f\n", cpuPercent(pid, seconds));
        player.kill();
        player.waitForFinished();
    }
    controller.deactivate();

    // The alternative without per-device delay, for comparison.
    const auto combine =
        raw.loadModule("module-combine-sink", "sink_name=bench_combine slaves=usb_dac,bt_speaker");
    if (combine) {
        QThread::msleep(500);
        std::printf("  combine sink, silence:           %5.2f\n", cpuPercent(pid, seconds));
        QProcess player;
        startSound(player, "bench_combine");
        std::printf("  combine sink, sound playing:     %5.2f\n", cpuPercent(pid, seconds));
        player.kill();
        player.waitForFinished();
        raw.setDefaultSink("usb_dac");
        raw.unloadModule(*combine);
    }

    // The server stops answering (SIGSTOP) while Brivello is on; the loop keeps running after the
    // action, so reconnect attempts count as well.
    std::printf("server stopped (SIGSTOP), longest main-thread block\n");
    controller.activate();
    server.pause();
    std::printf("  switching off:  %7.1f ms\n",
                longestBlockMs([&] { controller.deactivate(); }, 3.0));
    server.resume();
    longestBlockMs([] {}, 3.0); // reconnected
    selectTwo();
    controller.activate();
    server.pause();
    const auto quitStart = Clock::now();
    QTimer::singleShot(0, [] { QCoreApplication::quit(); });
    QCoreApplication::exec();
    controllerObject.reset();
    audioSystem.reset();
    std::printf("  quitting:       %7.1f ms\n",
                std::chrono::duration<double, std::milli>(Clock::now() - quitStart).count());
    server.resume();
    return 0;
}
