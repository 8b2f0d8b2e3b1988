#include "AppearanceSetting.h"
#include "DeviceListModel.h"
#include "MultiOutputController.h"
#include "MultiOutputStatus.h"
#include "PrivateSoundServer.h"
#include "PulseAudioSystem.h"
#include "PulseLevelSource.h"
#include "PulseToneOutput.h"
#include "SymbolImageProvider.h"
#include "SystemColorScheme.h"
#include "ToneGenerator.h"

#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QQmlApplicationEngine>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QTimer>
#include <QtQml/qqmlextensionplugin.h>

#include <unistd.h>

#include <cstdio>

Q_IMPORT_QML_PLUGIN(BrivelloPlugin)

// The CPU cost of the level meters: Brivello's window (this process, drawn on a private Xvfb)
// and the sound server, with 2 and 4 devices switched on while the test tone plays, the meters
// shown and the window hidden (where nothing is measured), and next to pavucontrol-qt showing
// the same devices' meters. Runs on a private server; pavucontrol-qt must be installed
// (`apt-get install pavucontrol-qt`). With a file name as argument it also saves a picture of the
// window while four meters measure the tone.
namespace {

constexpr int kSeconds = 10;

double cpuTicks(const QString& pid) {
    QFile stat("/proc/" + pid + "/stat");
    if (!stat.open(QIODevice::ReadOnly))
        return 0.0;
    const auto fields = QString::fromUtf8(stat.readAll()).section(')', 1).split(' ');
    return fields.value(12).toDouble() + fields.value(13).toDouble(); // utime, stime
}

// Percent of one core each process used while the event loop ran `seconds`.
std::vector<double> cpuPercent(const QStringList& pids, int seconds) {
    std::vector<double> before;
    for (const auto& pid : pids)
        before.push_back(cpuTicks(pid));
    QEventLoop loop;
    QTimer::singleShot(seconds * 1000, &loop, &QEventLoop::quit);
    loop.exec();
    std::vector<double> result;
    for (int i = 0; i < pids.size(); ++i)
        result.push_back((cpuTicks(pids[i]) - before[i]) /
                         static_cast<double>(sysconf(_SC_CLK_TCK)) / seconds * 100.0);
    return result;
}

void settle(int milliseconds) {
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

} // namespace

int main(int argc, char** argv) {
    QProcess xvfb;
    xvfb.start(QStringLiteral("Xvfb"), {"-displayfd", "1", "-nolisten", "tcp"});
    if (!xvfb.waitForReadyRead(10000)) {
        std::fprintf(stderr, "no Xvfb\n");
        return 1;
    }
    qputenv("DISPLAY", ':' + xvfb.readLine().trimmed());
    qputenv("QT_QPA_PLATFORM", "xcb");
    // Like with like: both Qt programs draw without OpenGL, as under Xvfb only Mesa's software
    // renderer would be there.
    qputenv("QT_QUICK_BACKEND", "software");
    qputenv("QT_XCB_GL_INTEGRATION", "none");
    PrivateSoundServer server;
    if (!server.start()) {
        std::fprintf(stderr, "no sound server\n");
        return 1;
    }
    QFile pidFile(server.directory() + "/pid");
    pidFile.open(QIODevice::ReadOnly);
    const QString serverPid = QString::fromUtf8(pidFile.readAll()).trimmed();
    const QString ownPid = QString::number(QCoreApplication::applicationPid());

    QGuiApplication app(argc, argv);
    QQuickStyle::setStyle(QStringLiteral("Fusion"));
    PulseAudioSystem audio;
    MultiOutputController controller(audio);
    PulseLevelSource levels(audio.connection());
    DeviceListModel devices(controller, &levels);
    MultiOutputStatus status(controller);
    SystemColorScheme scheme;
    AppearanceSetting appearance(scheme);
    PulseToneOutput toneOutput(audio.connection());
    ToneGenerator tone(toneOutput);
    QQmlApplicationEngine engine;
    engine.addImageProvider(QLatin1String(SymbolImageProvider::name), new SymbolImageProvider);
    engine.setInitialProperties({{"devices", QVariant::fromValue(&devices)},
                                 {"status", QVariant::fromValue(&status)},
                                 {"appearance", QVariant::fromValue(&appearance)},
                                 {"tone", QVariant::fromValue(&tone)}});
    engine.load(QUrl(QStringLiteral("qrc:/Brivello/MainWindow.qml")));
    auto* window = qobject_cast<QQuickWindow*>(engine.rootObjects().value(0));
    if (!window)
        return 1;
    window->show();
    settle(1000);

    std::printf(
        "CPU, %% of one core over %d s, %s, tone playing    Brivello  server  pavucontrol-qt\n",
        kSeconds, PrivateSoundServer::isPipeWire() ? "PipeWire" : "PulseAudio");
    auto report = [&](const char* what, const std::vector<double>& cpu) {
        std::printf("%-52s %8.2f %7.2f", what, cpu[0], cpu[1]);
        if (cpu.size() > 2)
            std::printf(" %15.2f", cpu[2]);
        std::printf("\n");
        std::fflush(stdout);
    };
    for (const int count : {2, 4}) {
        for (int i = 0; i < count; ++i)
            controller.toggle(controller.devices().at(i).id);
        controller.activate();
        tone.start();
        settle(2000);
        report(qPrintable(QString("%1 devices, meters shown").arg(count)),
               cpuPercent({ownPid, serverPid}, kSeconds));
        if (count == 4 && argc > 1)
            window->grabWindow().save(QString::fromLocal8Bit(argv[1]));
        window->hide();
        settle(1000);
        report(qPrintable(QString("%1 devices, window hidden: no meters").arg(count)),
               cpuPercent({ownPid, serverPid}, kSeconds));
        if (count == 4) {
            // Its output devices' tab: a meter for each device (and for Brivello's own).
            QProcess mixer;
            mixer.start(QStringLiteral("pavucontrol-qt"), {"--tab", "3"});
            if (mixer.waitForStarted()) {
                settle(3000);
                report(
                    "4 devices, window hidden, pavucontrol-qt's meters",
                    cpuPercent({ownPid, serverPid, QString::number(mixer.processId())}, kSeconds));
                mixer.terminate();
                mixer.waitForFinished();
            }
        }
        window->show();
        tone.stop();
        controller.deactivate();
        for (int i = 0; i < count; ++i)
            controller.toggle(controller.devices().at(i).id);
        settle(500);
    }
    xvfb.terminate();
    xvfb.waitForFinished();
    return 0;
}
