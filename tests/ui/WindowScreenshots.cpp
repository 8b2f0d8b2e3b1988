// Writes pictures of the main window in its typical states and of the tray panel, light and dark,
// into the folder given as the only argument: the window over the in-memory Core Audio, drawn
// offscreen.
#include "KeyPressRecorder.h"
#include "SymbolImageProvider.h"
#include "WindowFixture.h"

#include <QDir>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQmlComponent>
#include <QQuickItem>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

#include <cstdio>
#include <functional>
#include <memory>

Q_IMPORT_QML_PLUGIN(BrivelloPlugin)

namespace {

struct Scene {
    const char* name;
    int deviceCount;
    std::function<void(WindowFixture&)> arrange;
    const char* clickedButton = nullptr; // by object name, pressed once the window shows
    std::function<void(QQuickWindow&)> shown = nullptr;
    bool splash = false; // the window opens behind the animated logo
    int settleMs = 400;  // fades, menus and meters settle
    bool panel = false;  // the tray panel instead of the window, in the window's appearance
};

// Three zones as a user would have them: one with a hot key, one playing, and one whose devices
// are all gone.
void threeZones(WindowFixture& f) {
    f.saveZone(QStringLiteral("Wohnzimmer"),
               {QStringLiteral("hdmi-tv"), QStringLiteral("bt-kitchen"), QStringLiteral("builtin")},
               0x31, 0x1800, QStringLiteral("⌃⌥Space"));
    f.saveZone(QStringLiteral("Arbeitszimmer"), {QStringLiteral("usb-dac")}, 0x13, 0x0300,
               QStringLiteral("⇧⌘2"));
    f.saveZone(QStringLiteral("Terrasse"),
               {QStringLiteral("airplay-garden"), QStringLiteral("bt-garden")});
    f.zones()->activate(f.zones()->data(f.zones()->index(1, 0), ZoneListModel::IdRole).toString());
}

// The first zone's hot-key sheet, listening for a combination.
QQuickItem* findItem(QQuickItem* root, const QString& name) {
    if (root->objectName() == name)
        return root;
    for (QQuickItem* child : root->childItems())
        if (QQuickItem* found = findItem(child, name))
            return found;
    return nullptr;
}

KeyPressRecorder* openSheetRecording(QQuickWindow& window) {
    // Repeater rows are visual children only.
    QObject* row = findItem(window.contentItem(), QStringLiteral("zoneRow"));
    auto* sheet = row ? row->property("hotKeySheet").value<QObject*>() : nullptr;
    if (!sheet)
        return nullptr;
    QMetaObject::invokeMethod(sheet, "open");
    auto* recorder = sheet->findChild<KeyPressRecorder*>();
    if (recorder)
        recorder->start();
    return recorder;
}

void sheetRecording(QQuickWindow& window) {
    openSheetRecording(window);
}

// The same sheet asking about ⌥Space, which macOS 15 refuses.
void sheetQuestion(QQuickWindow& window) {
    if (openSheetRecording(window))
        QTest::keyClick(&window, Qt::Key_Space, Qt::AltModifier);
}

void tick(WindowFixture& fixture, std::initializer_list<int> rows) {
    for (int row : rows)
        fixture.devices()->toggle(
            fixture.devices()
                ->data(fixture.devices()->index(row, 0), DeviceListModel::IdRole)
                .toUInt());
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s <folder>\n", argv[0]);
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QQuickStyle::setStyle(QStringLiteral("Fusion"));
    const QDir folder(QString::fromLocal8Bit(argv[1]));
    if (!folder.exists() && !QDir().mkpath(folder.path())) {
        std::fprintf(stderr, "cannot make %s\n", argv[1]);
        return 1;
    }

    const Scene scenes[] = {
        {"empty", 0, [](WindowFixture&) {}},
        {"two-selected", 4,
         [](WindowFixture& f) {
             tick(f, {0, 2});
         }},
        {"active", 4,
         [](WindowFixture& f) {
             tick(f, {0, 2, 3});
             f.status()->activate();
         }},
        {"tone-playing", 4,
         [](WindowFixture& f) {
             tick(f, {1, 2});
             f.status()->activate();
             f.tone()->start();
         }},
        {"appearance-menu", 4, [](WindowFixture& f) { tick(f, {1}); }, "appearanceButton"},
        {"zones-empty", 4, [](WindowFixture&) {}},
        {"zones", 4,
         [](WindowFixture& f) {
             f.holdElsewhere(0x13, 0x0300); // another application has ⇧⌘2
             threeZones(f);
         }},
        {"hotkey-sheet", 4, threeZones, nullptr, sheetRecording},
        {"hotkey-question", 4, threeZones, nullptr, sheetQuestion},
        // Caught with the waves spreading, about two thirds into its 1.6 s.
        {"splash", 4, [](WindowFixture&) {}, nullptr, nullptr, true, 1050},
        {"panel-empty", 4, [](WindowFixture&) {}, nullptr, nullptr, false, 400, true},
        {"panel-zones", 4, threeZones, nullptr, nullptr, false, 400, true},
    };

    WindowFixture fixture;
    int failures = 0;
    for (const char* scheme : {"light", "dark"}) {
        for (const Scene& scene : scenes) {
            fixture.reset(scene.deviceCount);
            fixture.appearance()->setRaw(QString::fromLatin1(scheme));
            scene.arrange(fixture);

            QQmlApplicationEngine engine;
            engine.addImageProvider(QStringLiteral("symbol"), new SymbolImageProvider);
            QQmlComponent splash(&engine, QUrl(QStringLiteral("qrc:/Brivello/SplashScreen.qml")));
            QVariantMap properties{
                {QStringLiteral("devices"), QVariant::fromValue(fixture.devices())},
                {QStringLiteral("status"), QVariant::fromValue(fixture.status())},
                {QStringLiteral("appearance"), QVariant::fromValue(fixture.appearance())},
                {QStringLiteral("zones"), QVariant::fromValue(fixture.zones())},
                {QStringLiteral("tone"), QVariant::fromValue(fixture.tone())}};
            if (scene.splash)
                properties.insert(QStringLiteral("splash"), QVariant::fromValue(&splash));
            engine.setInitialProperties(properties);
            engine.load(QUrl(QStringLiteral("qrc:/Brivello/MainWindow.qml")));
            auto* window = engine.rootObjects().isEmpty()
                               ? nullptr
                               : qobject_cast<QQuickWindow*>(engine.rootObjects().first());
            if (!window) {
                ++failures;
                continue;
            }
            // The panel takes its colours from the window, which decides the scheme.
            QQmlComponent panelComponent(&engine,
                                         QUrl(QStringLiteral("qrc:/Brivello/MenuBarPanel.qml")));
            std::unique_ptr<QQuickWindow> panel;
            if (scene.panel) {
                panel.reset(qobject_cast<QQuickWindow*>(panelComponent.createWithInitialProperties(
                    {{QStringLiteral("status"), QVariant::fromValue(fixture.status())},
                     {QStringLiteral("zones"), QVariant::fromValue(fixture.zones())}})));
                if (!panel) {
                    ++failures;
                    continue;
                }
                window = panel.get();
            }
            window->show();
            if (scene.shown)
                scene.shown(*window);
            if (scene.clickedButton)
                if (auto* button = window->findChild<QObject*>(scene.clickedButton))
                    QMetaObject::invokeMethod(button, "clicked");
            QTest::qWait(scene.settleMs);
            const QString file =
                folder.filePath(QStringLiteral("%1-%2.png").arg(scene.name, scheme));
            if (!window->grabWindow().save(file))
                ++failures;
            else
                std::printf("%s\n", qPrintable(file));
        }
    }
    return failures == 0 ? 0 : 1;
}
