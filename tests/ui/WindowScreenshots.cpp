// Writes pictures of the main window in its typical states, light and dark, into the folder given
// as the only argument: the window over the in-memory Core Audio, drawn offscreen.
#include "SymbolImageProvider.h"
#include "WindowFixture.h"

#include <QDir>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

#include <cstdio>
#include <functional>

Q_IMPORT_QML_PLUGIN(BrivelloPlugin)

namespace {

struct Scene {
    const char* name;
    int deviceCount;
    std::function<void(WindowFixture&)> arrange;
    const char* clickedButton = nullptr; // by object name, pressed once the window shows
};

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
            engine.setInitialProperties(
                {{QStringLiteral("devices"), QVariant::fromValue(fixture.devices())},
                 {QStringLiteral("status"), QVariant::fromValue(fixture.status())},
                 {QStringLiteral("appearance"), QVariant::fromValue(fixture.appearance())},
                 {QStringLiteral("tone"), QVariant::fromValue(fixture.tone())}});
            engine.load(QUrl(QStringLiteral("qrc:/Brivello/MainWindow.qml")));
            auto* window = engine.rootObjects().isEmpty()
                               ? nullptr
                               : qobject_cast<QQuickWindow*>(engine.rootObjects().first());
            if (!window) {
                ++failures;
                continue;
            }
            window->show();
            if (scene.clickedButton)
                if (auto* button = window->findChild<QObject*>(scene.clickedButton))
                    QMetaObject::invokeMethod(button, "clicked");
            QTest::qWait(400); // fades, menus and meters settle
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
