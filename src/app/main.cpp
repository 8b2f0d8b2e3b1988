// Brivello: the main window and the tray icon over the controller, the zones and their global hot
// keys, on the platform's sound system; one per user, driven from the command line as well.
#include "AppModel.h"
#include "AppearanceSetting.h"
#include "CommandLine.h"
#include "ControlClient.h"
#include "ControlCommands.h"
#include "ControlServer.h"
#include "DeviceListModel.h"
#include "HotKeyCenter.h"
#include "MultiOutputStatus.h"
#include "SingleInstance.h"
#include "SymbolIcon.h"
#include "SymbolImageProvider.h"
#include "SystemColorScheme.h"
#include "TerminationSignals.h"
#include "ToneGenerator.h"
#include "TrayIcon.h"
#include "WindowFront.h"
#include "ZoneListModel.h"

#include <QApplication>
#include <QCoreApplication>
#include <QProcess>
#include <QQmlApplicationEngine>
#include <QQmlComponent>
#include <QQuickStyle>
#include <QSettings>
#include <QWindow>
#include <QtQml/qqmlextensionplugin.h>

#include <cstdio>
#include <memory>

#ifdef __APPLE__
#include "CarbonHotKeyBackend.h"
#include "CoreAudioApiMac.h"
#include "CoreAudioSystem.h"
#include "CoreAudioToneOutput.h"
#else
#include "PulseAudioSystem.h"
#include "PulseLevelSource.h"
#include "PulseToneOutput.h"
#include "X11HotKeyBackend.h"
#endif

Q_IMPORT_QML_PLUGIN(BrivelloPlugin)

namespace {

int answer(const ControlReply& reply) {
    std::fputs(reply.out.c_str(), stdout);
    std::fputs(reply.err.c_str(), stderr);
    return reply.exitCode;
}

// Another Brivello runs (or is starting): it carries the request out and words the answer.
int handOver(const SingleInstance& instance, const ControlRequest& request, int connectWaitMs) {
    const auto reply = sendControlRequest(instance.socketPath(), request, connectWaitMs);
    if (!reply)
        return answer({ExitCode::notRunning, {}, "brivello: Brivello antwortet nicht.\n"});
    return answer(*reply);
}

// A command for a running Brivello when none runs: a zone switch starts one in the background and
// hands over to it; the others have nothing to act on.
int commandWithoutBrivello(SingleInstance& instance, const ControlRequest& request,
                           const QString& program) {
    instance.release();
    using Command = ControlRequest::Command;
    if (request.command != Command::zone && request.command != Command::on)
        return answer({ExitCode::notRunning, {}, "brivello: Brivello läuft nicht.\n"});
    // Its output goes nowhere: the caller's pipes close when the caller ends.
    QProcess background;
    background.setProgram(program);
    background.setArguments({QStringLiteral("--hintergrund")});
    background.setStandardOutputFile(QProcess::nullDevice());
    background.setStandardErrorFile(QProcess::nullDevice());
    if (!background.startDetached())
        return answer({ExitCode::notRunning, {}, "brivello: Brivello ließ sich nicht starten.\n"});
    // Time for the new one to start and read the devices, even on a slow machine.
    return handOver(instance, request, 20000);
}

int runBrivello(int& argc, char** argv, SingleInstance& instance, bool background) {
    // The loop is the platform's: on macOS it drains the main dispatch queue (the Core Audio
    // device-list listener) and dispatches Carbon events (the hot keys). A QApplication, because
    // Qt's system tray lives in Qt Widgets.
    QApplication app(argc, argv);
    // On macOS the settings land in the user defaults "de.tandrel.brivello".
    QApplication::setOrganizationName(QStringLiteral("tandrel"));
    QApplication::setOrganizationDomain(QStringLiteral("tandrel.de"));
    QApplication::setApplicationName(QStringLiteral("brivello"));
    QApplication::setApplicationDisplayName(QStringLiteral("Brivello"));
    // Desktops match the window to the installed de.tandrel.brivello.desktop by this name (the
    // Wayland app id) and by the X11 class "brivello", which Qt takes from the application name.
    QApplication::setDesktopFileName(QStringLiteral("de.tandrel.brivello"));
    QApplication::setWindowIcon(appLogoIcon());
    // One look on every system: Qt would pick a different style per platform.
    QQuickStyle::setStyle(QStringLiteral("Fusion"));
    TerminationSignals stopSignals;

    // The platform's choices: its sound system and hot keys, where the test tone plays, and
    // whether the meters measure (Linux) or move with the clock, scaled by the volume (macOS).
#ifdef __APPLE__
    CoreAudioApiMac coreAudio;
    // Keeps the default output Brivello replaced, for the next start after a crash.
    QSettings settings;
    CoreAudioSystem audio(coreAudio, &settings);
    HotKeyCenter::shared().setBackend(std::make_unique<CarbonHotKeyBackend>());
    CoreAudioToneOutput toneOutput;
    LevelSource* levels = nullptr;
#else
    PulseAudioSystem audio;
    HotKeyCenter::shared().setBackend(std::make_unique<X11HotKeyBackend>());
    PulseToneOutput toneOutput(audio.connection());
    PulseLevelSource pulseLevels(audio.connection());
    LevelSource* levels = &pulseLevels;
#endif

    AppModel model(audio);
    SystemColorScheme systemScheme;
    AppearanceSetting appearance(systemScheme);
    DeviceListModel devices(model.controller(), levels);
    ToneGenerator tone(toneOutput);
    MultiOutputStatus status(model.controller());
    ZoneListModel zones(model);

    QQmlApplicationEngine engine;
    engine.addImageProvider(QLatin1String(SymbolImageProvider::name), new SymbolImageProvider);
    // The window opens behind the animated logo, which fades away once it has played.
    QQmlComponent splash(&engine, QUrl(QStringLiteral("qrc:/Brivello/SplashScreen.qml")));
    engine.setInitialProperties({{QStringLiteral("devices"), QVariant::fromValue(&devices)},
                                 {QStringLiteral("status"), QVariant::fromValue(&status)},
                                 {QStringLiteral("appearance"), QVariant::fromValue(&appearance)},
                                 {QStringLiteral("zones"), QVariant::fromValue(&zones)},
                                 {QStringLiteral("tone"), QVariant::fromValue(&tone)},
                                 {QStringLiteral("splash"), QVariant::fromValue(&splash)}});
    engine.load(QUrl(QStringLiteral("qrc:/Brivello/MainWindow.qml")));
    auto* window = engine.rootObjects().isEmpty()
                       ? nullptr
                       : qobject_cast<QWindow*>(engine.rootObjects().first());
    if (!window)
        return 1;

    // Later starts of Brivello hand their requests over from here on.
    // Quitting waits for the answer to go out: the teardown then runs as for "Brivello beenden".
    ControlCommands commands(
        model, [window] { showWindowInFront(*window); },
        [] { QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection); });
    ControlServer control(
        [&commands](const ControlRequest& request) { return commands.run(request); });
    // Without the lock the socket may be another Brivello's: it is left alone.
    if (instance.isClaimed() && !control.listen(instance.socketPath()))
        std::fprintf(stderr,
                     "Brivello: the control socket %s cannot be opened; later starts of "
                     "Brivello will not reach this one.\n",
                     qPrintable(instance.socketPath()));

    // Every way out (the panel's "Brivello beenden", Ctrl+Q / ⌘Q in the window, a termination
    // signal) is QCoreApplication::quit(), which Qt.quit() reaches through the engine: on the way
    // out the controller switches the multi-output device off, puts the previous default output
    // back and removes any multi-output device left over.

    // The icon is there from launch. On a desktop whose tray appears only later (a panel that
    // starts after Brivello, a restarted tray host), Qt puts the icon in as soon as it does.
    QQmlComponent panelComponent(&engine, QUrl(QStringLiteral("qrc:/Brivello/MenuBarPanel.qml")));
    std::unique_ptr<QWindow> panel(
        qobject_cast<QWindow*>(panelComponent.createWithInitialProperties(
            {{QStringLiteral("status"), QVariant::fromValue(&status)},
             {QStringLiteral("zones"), QVariant::fromValue(&zones)}})));
    std::unique_ptr<TrayIcon> tray;
    if (panel) {
        tray = std::make_unique<TrayIcon>(*panel, *window);
        QObject::connect(panel.get(), SIGNAL(openWindowRequested()), tray.get(),
                         SLOT(openWindow()));
        QObject::connect(panel.get(), SIGNAL(quitRequested()), &app, SLOT(quit()),
                         Qt::QueuedConnection);
        tray->setDark(appearance.dark());
        QObject::connect(&appearance, &AppearanceSetting::darkChanged, tray.get(),
                         [&] { tray->setDark(appearance.dark()); });
        tray->show();
    }
    if (!tray || !TrayIcon::trayAvailable())
        std::fputs("Brivello: no system tray on this desktop (yet); until one appears Brivello "
                   "works from its window and its hot keys, and closing the window quits it.\n",
                   stderr);
    // Brivello lives on in the tray when its window closes, while there is a tray to live in.
    QApplication::setQuitOnLastWindowClosed(false);
    QObject::connect(window, &QWindow::visibleChanged, &app, [hasTray = bool(tray)](bool visible) {
        if (!visible && !(hasTray && TrayIcon::trayAvailable()))
            QCoreApplication::quit();
    });

    // The window leaves its visibility to whoever shows it (tests and screenshots do it too).
    // Started in the background it waits in the tray, where there is one.
    if (!background || !tray || !TrayIcon::trayAvailable())
        window->show();
    return QApplication::exec();
}

} // namespace

int main(int argc, char** argv) {
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    const CommandLine line = parseCommandLine(arguments, QStringLiteral(BRIVELLO_VERSION));
    if (line.answer)
        return answer(*line.answer);

    SingleInstance instance;
    const auto claim = instance.claim();
    if (claim == SingleInstance::Claim::impossible) {
        // Brivello still starts; only the hand-over between starts is lost.
        std::fprintf(stderr, "Brivello: no lock file in %s; another Brivello may be running.\n",
                     qPrintable(SingleInstance::runtimeDirectory()));
    }
    if (claim == SingleInstance::Claim::taken) {
        // The blocking socket calls want an application object, not a loop or a display.
        QCoreApplication client(argc, argv);
        return handOver(instance, line.request, 10000);
    }
    if (line.request.command != ControlRequest::Command::raise) {
        QCoreApplication client(argc, argv);
        if (claim == SingleInstance::Claim::impossible)
            return handOver(instance, line.request, 1000);
        return commandWithoutBrivello(instance, line.request,
                                      QCoreApplication::applicationFilePath());
    }
    return runBrivello(argc, argv, instance, line.background);
}
