// Brivello: the main window and the tray icon over the controller, the zones and their global hot
// keys, on the platform's sound system.
#include "AppModel.h"
#include "AppearanceSetting.h"
#include "DeviceListModel.h"
#include "HotKeyCenter.h"
#include "MultiOutputStatus.h"
#include "SymbolIcon.h"
#include "SymbolImageProvider.h"
#include "SystemColorScheme.h"
#include "TerminationSignals.h"
#include "ToneGenerator.h"
#include "TrayIcon.h"
#include "ZoneListModel.h"

#include <QApplication>
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

int main(int argc, char** argv) {
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

    // Every way out (the panel's "Brivello beenden", Ctrl+Q / ⌘Q in the window, a termination
    // signal) is QCoreApplication::quit(), which Qt.quit() reaches through the engine: on the way
    // out the controller switches the multi-output device off, puts the previous default output
    // back and removes any multi-output device left over.

    QQmlComponent panelComponent(&engine, QUrl(QStringLiteral("qrc:/Brivello/MenuBarPanel.qml")));
    std::unique_ptr<QWindow> panel;
    std::unique_ptr<TrayIcon> tray;
    if (TrayIcon::trayAvailable()) {
        panel.reset(qobject_cast<QWindow*>(panelComponent.createWithInitialProperties(
            {{QStringLiteral("status"), QVariant::fromValue(&status)},
             {QStringLiteral("zones"), QVariant::fromValue(&zones)}})));
    }
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
        // Brivello lives on in the tray when its window closes.
        QApplication::setQuitOnLastWindowClosed(false);
    } else {
        std::fputs("Brivello: no system tray on this desktop; Brivello works from its window and "
                   "its hot keys, and closing the window quits it.\n",
                   stderr);
    }

    // The window leaves its visibility to whoever shows it (tests and screenshots do it too).
    window->show();
    return QApplication::exec();
}
