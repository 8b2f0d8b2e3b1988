#include "SymbolImageProvider.h"

#include "SymbolRenderer.h"

#include <QUrl>

namespace {

// Lucide draws on 24 × 24; the logo is a 256 × 256 drawing. These are the sizes an Image takes
// when nothing asks for another.
constexpr QSize symbolNaturalSize(24, 24);
constexpr QSize logoNaturalSize(256, 256);

// A missing dimension follows the other one; with neither, the natural size.
QSize pixelSizeFor(const QSize& requested, const QSize& natural) {
    const int w = requested.width();
    const int h = requested.height();
    if (w > 0 && h > 0)
        return requested;
    if (w > 0)
        return {w, w};
    if (h > 0)
        return {h, h};
    return natural;
}

} // namespace

SymbolImageProvider::SymbolImageProvider() : QQuickImageProvider(QQuickImageProvider::Image) {}

SymbolImageProvider::Request SymbolImageProvider::parseId(const QString& id) {
    const qsizetype question = id.indexOf(QLatin1Char('?'));
    Request request{QUrl::fromPercentEncoding(id.left(question).toUtf8()), QColor(Qt::black)};
    if (question < 0)
        return request;
    for (const QString& pair : id.mid(question + 1).split(QLatin1Char('&'))) {
        const qsizetype equals = pair.indexOf(QLatin1Char('='));
        if (equals < 0 || pair.left(equals) != QLatin1String("color"))
            continue;
        const QColor color =
            QColor::fromString(QUrl::fromPercentEncoding(pair.mid(equals + 1).toUtf8()));
        if (color.isValid())
            request.color = color;
    }
    return request;
}

QImage SymbolImageProvider::requestImage(const QString& id, QSize* size,
                                         const QSize& requestedSize) {
    const Request request = parseId(id);
    const bool logo = request.symbol == QLatin1String(appLogoId);
    const QSize natural = logo ? logoNaturalSize : symbolNaturalSize;
    if (size)
        *size = natural;
    const QSize pixels = pixelSizeFor(requestedSize, natural);
    return logo ? renderAppLogo(pixels) : renderSymbol(request.symbol, request.color, pixels);
}
