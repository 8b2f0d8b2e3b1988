#pragma once

#include <QColor>
#include <QQuickImageProvider>
#include <QString>

// Serves the interface's symbols and the logo to QML, registered under `name`:
//   image://symbol/<symbol name>?color=<#rrggbb or #aarrggbb>
//   image://symbol/AppLogo
// The colour may come percent-encoded (%23rrggbb); without one, or with one that does not parse,
// symbols are black. The logo keeps its own colours. Images are drawn at the requested size,
// which QML gives in device pixels when `sourceSize` is set, so they stay crisp on any screen.
class SymbolImageProvider : public QQuickImageProvider {
public:
    SymbolImageProvider();

    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;

    static constexpr const char* name = "symbol";
    static constexpr const char* appLogoId = "AppLogo";

    struct Request {
        QString symbol;
        QColor color;
    };
    // Splits an id into the symbol name and its colour.
    static Request parseId(const QString& id);
};
