#include "MultiOutputController.h"
#include "PrivateSoundServer.h"
#include "PulseAudioSystem.h"
#include "PulseConnection.h"
#include "PulseStream.h"
#include "SoundArrival.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QThread>
#include <QTimer>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <numbers>
#include <optional>
#include <vector>

// Times activation and deactivation through the controller against the raw server operations
// they wrap; the server's CPU with nothing active, with Brivello's multi-output device active and
// silent (long enough for its members to rest) and playing, next to a combine sink carrying the
// same sound; the time from a stream's start to its first sound on each device after a rest (on
// the device's monitor, which a running PulseAudio sink fills ahead of time and rewinds for a new
// stream, so only a sink that starts from rest shows when sound is heard); all on a private
// PulseAudio and a private PipeWire, side by side. Then, on PulseAudio, the
// longest the main thread is blocked when switching off and quitting with the server stopped
// (SIGSTOP).
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

// The CPU share (percent of one core) of the server's processes over `seconds`, from /proc.
double cpuPercent(const QStringList& pids, double seconds) {
    auto ticks = [&] {
        double sum = 0;
        for (const auto& pid : pids) {
            QFile stat("/proc/" + pid + "/stat");
            if (!stat.open(QIODevice::ReadOnly))
                continue;
            const auto fields = QString::fromUtf8(stat.readAll()).section(')', 1).split(' ');
            sum += fields.value(12).toDouble() + fields.value(13).toDouble(); // utime, stime
        }
        return sum;
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

// Runs the Qt event loop, where the backend hands over server events, for `milliseconds`.
void runLoop(int milliseconds) {
    const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
    while (Clock::now() < end) {
        QCoreApplication::processEvents();
        QThread::msleep(5);
    }
}

QString sinkState(PrivateSoundServer& server, const QString& name) {
    for (const auto& line : server.list("sinks"))
        if (line.section('\t', 1, 1) == name)
            return line.section('\t', 4, 4);
    return {};
}

// A half-scale 440 Hz tone to the default output for as long as the stream lives.
std::unique_ptr<PulseStream> playTone(PulseConnection& connection) {
    const pa_sample_spec format{PA_SAMPLE_S16LE, 48000, 2};
    auto phase = std::make_shared<double>(0.0);
    auto fill = [phase](void* data, std::size_t bytes) {
        auto* samples = static_cast<std::int16_t*>(data);
        for (std::size_t frame = 0; frame < bytes / 4; ++frame) {
            const auto value = static_cast<std::int16_t>(16384 * std::sin(*phase));
            samples[2 * frame] = samples[2 * frame + 1] = value;
            *phase += 2.0 * std::numbers::pi * 440.0 / 48000.0;
        }
    };
    return PulseStream::play(connection, format, fill, [] {}).stream;
}

// Milliseconds from a stream's start to its first sound on the 0 ms device and the 180 ms one;
// the stream ends with the measurement.
std::pair<double, double> firstSoundMs(PulseConnection& connection) {
    SoundArrival near("usb_dac"), far("bt_speaker");
    runLoop(500); // the recordings run
    near.skip();
    far.skip();
    const auto start = Clock::now();
    auto tone = playTone(connection);
    const auto end = start + std::chrono::seconds(2);
    while ((!near.first() || !far.first()) && Clock::now() < end) {
        QCoreApplication::processEvents();
        near.poll();
        far.poll();
        QThread::msleep(1);
    }
    auto since = [&](const std::optional<Clock::time_point>& first) {
        return first ? std::chrono::duration<double, std::milli>(*first - start).count() : -1.0;
    };
    return {since(near.first()), since(far.first())};
}

void selectTwo(MultiOutputController& controller) {
    for (const auto& device : controller.devices())
        if ((device.uid == "usb_dac" || device.uid == "bt_speaker") &&
            !controller.selected().contains(device.id))
            controller.toggle(device.id);
}

// The medians of five firstSoundMs(), each after `between` (not before the first).
std::pair<double, double> medianFirstSoundMs(PulseConnection& connection,
                                             const std::function<void()>& between) {
    std::vector<double> near, far;
    for (int i = 0; i < 5; ++i) {
        if (i > 0)
            between();
        const auto [nearMs, farMs] = firstSoundMs(connection);
        near.push_back(nearMs);
        far.push_back(farMs);
    }
    return {medianMs(near), medianMs(far)};
}

struct Figures {
    QString server;
    double activate = 0, rawLoad = 0, deactivate = 0, rawUnload = 0, rebuild = 0;
    double inactive = 0, silent = 0, playing = 0, combineSilent = 0, combinePlaying = 0;
    QString members; // the member sinks' states after 10 s of silence
    std::pair<double, double> rested;
};

constexpr double kSeconds = 10.0;

void measure(Figures& figures, PrivateSoundServer& server, MultiOutputController& controller) {
    QFile pidsFile(server.directory() + "/pids");
    pidsFile.open(QIODevice::ReadOnly);
    const auto pids = QString::fromUtf8(pidsFile.readAll()).split('\n', Qt::SkipEmptyParts);
    selectTwo(controller);

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
    figures.activate = medianMs(activate);
    figures.rawLoad = medianMs(rawLoad);
    figures.deactivate = medianMs(deactivate);
    figures.rawUnload = medianMs(rawUnload);
    figures.rebuild = medianMs(rebuild);

    runLoop(static_cast<int>(kSeconds * 1000)); // the devices used above fall idle
    figures.inactive = cpuPercent(pids, kSeconds);

    for (const auto& device : controller.devices())
        if (device.uid == "bt_speaker")
            controller.setDelay(device.id, 180);
    controller.activate();
    controller.commitDelays();
    runLoop(static_cast<int>(kSeconds * 1000)); // silence: the members rest
    figures.members = sinkState(server, "usb_dac") + "/" + sinkState(server, "bt_speaker");
    figures.silent = cpuPercent(pids, kSeconds);
    // Each after 10 s of silence, long enough for the members to be suspended.
    figures.rested = medianFirstSoundMs(raw, [] { runLoop(static_cast<int>(kSeconds * 1000)); });
    {
        auto tone = playTone(raw);
        runLoop(500);
        figures.playing = cpuPercent(pids, kSeconds);
    }
    controller.deactivate();

    // The alternative without per-device delay, for comparison.
    const auto combine =
        raw.loadModule("module-combine-sink", "sink_name=bench_combine slaves=usb_dac,bt_speaker");
    if (combine) {
        raw.setDefaultSink("bench_combine");
        QThread::msleep(static_cast<unsigned long>(kSeconds * 1000));
        figures.combineSilent = cpuPercent(pids, kSeconds);
        auto tone = playTone(raw);
        QThread::msleep(500);
        figures.combinePlaying = cpuPercent(pids, kSeconds);
        tone.reset();
        raw.setDefaultSink("usb_dac");
        raw.unloadModule(*combine);
    }
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    std::vector<Figures> all;
    std::unique_ptr<PrivateSoundServer> server;
    std::unique_ptr<PulseAudioSystem> audioSystem;
    std::unique_ptr<MultiOutputController> controllerObject;
    // PulseAudio last: it stays for the stopped-server part.
    for (const char* kind : {"pipewire", "pulseaudio"}) {
        controllerObject.reset();
        audioSystem.reset();
        server.reset();
        qputenv("BRIVELLO_TEST_SOUND_SERVER", kind);
        server = std::make_unique<PrivateSoundServer>();
        if (!server->start()) {
            std::fprintf(stderr, "private %s server did not start\n", kind);
            return 1;
        }
        audioSystem = std::make_unique<PulseAudioSystem>();
        controllerObject = std::make_unique<MultiOutputController>(*audioSystem);
        all.insert(all.begin(), Figures());
        all.front().server = kind;
        measure(all.front(), *server, *controllerObject);
    }
    auto& controller = *controllerObject;

    auto row = [&](const char* label, auto value) {
        std::printf("  %-44s", label);
        for (const auto& figures : all)
            std::printf(" %12s", qPrintable(value(figures)));
        std::printf("\n");
    };
    auto number = [](double value) { return QString::number(value, 'f', 2); };
    std::printf("  %-44s", "two devices");
    for (const auto& figures : all)
        std::printf(" %12s", qPrintable(figures.server));
    std::printf("\n");
    row("activate, ms (median of 10)", [&](const Figures& f) { return number(f.activate); });
    row("  raw null sink + 2 loopbacks + default, ms",
        [&](const Figures& f) { return number(f.rawLoad); });
    row("deactivate, ms", [&](const Figures& f) { return number(f.deactivate); });
    row("  raw default + unloads, ms", [&](const Figures& f) { return number(f.rawUnload); });
    row("committed delay while active (rebuild), ms",
        [&](const Figures& f) { return number(f.rebuild); });
    row("server CPU, % of a core over 10 s:", [](const Figures&) { return QString(); });
    row("  nothing active", [&](const Figures& f) { return number(f.inactive); });
    row("  Brivello active, silent for 10 s", [&](const Figures& f) { return number(f.silent); });
    row("  Brivello active, playing", [&](const Figures& f) { return number(f.playing); });
    row("  combine sink, silent for 10 s",
        [&](const Figures& f) { return number(f.combineSilent); });
    row("  combine sink, playing", [&](const Figures& f) { return number(f.combinePlaying); });
    row("members after 10 s of silence", [](const Figures& f) { return f.members; });
    row("stream start to first sound after 10 s silent,", [](const Figures&) { return QString(); });
    auto pair = [](const std::pair<double, double>& ms) {
        return QString::number(ms.first, 'f', 0) + "/" + QString::number(ms.second, 'f', 0);
    };
    row("  ms, 0 ms / 180 ms device (median of 5)",
        [&](const Figures& f) { return pair(f.rested); });

    // The server stops answering (SIGSTOP) while Brivello is on; the loop keeps running after the
    // action, so reconnect attempts count as well.
    std::printf("PulseAudio stopped (SIGSTOP), longest main-thread block\n");
    controller.activate();
    server->pause();
    std::printf("  switching off:  %7.1f ms\n",
                longestBlockMs([&] { controller.deactivate(); }, 3.0));
    server->resume();
    longestBlockMs([] {}, 3.0); // reconnected
    selectTwo(controller);
    controller.activate();
    server->pause();
    const auto quitStart = Clock::now();
    QTimer::singleShot(0, [] { QCoreApplication::quit(); });
    QCoreApplication::exec();
    controllerObject.reset();
    audioSystem.reset();
    std::printf("  quitting:       %7.1f ms\n",
                std::chrono::duration<double, std::milli>(Clock::now() - quitStart).count());
    server->resume();
    return 0;
}
