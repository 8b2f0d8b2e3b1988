// Qt Quick Test over the application's own QML module: the window as the user sees it, on the
// in-memory Core Audio.
#include "SymbolImageProvider.h"
#include "WindowFixture.h"

#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickStyle>
#include <QtQml/qqmlextensionplugin.h>
#include <QtQuickTest>

Q_IMPORT_QML_PLUGIN(BrivelloPlugin)

class Setup : public QObject {
    Q_OBJECT
public slots:
    void applicationAvailable() { QQuickStyle::setStyle(QStringLiteral("Fusion")); }
    void qmlEngineAvailable(QQmlEngine* engine) {
        // The module is compiled in: its qmldir is found among the resources.
        engine->addImportPath(QStringLiteral("qrc:/"));
        engine->addImageProvider(QStringLiteral("symbol"), new SymbolImageProvider);
        engine->rootContext()->setContextProperty(QStringLiteral("fixture"), &m_fixture);
    }

private:
    WindowFixture m_fixture;
};

QUICK_TEST_MAIN_WITH_SETUP(brivello_window, Setup)

#include "QuickTestMain.moc"
