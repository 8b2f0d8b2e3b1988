#include "SymbolRenderer.h"

#include "LucideIcon.h"
#include "SymbolTable.h"

#ifdef Q_OS_DARWIN
#include "SymbolImageMac.h"
#endif

#include <QPainter>
#include <QSvgRenderer>

namespace {

// Keeps the shape's alpha and replaces its colour, so a semi-transparent colour fades it.
void tint(QImage& image, const QColor& color) {
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), color);
}

QImage renderFromTable(const SymbolEntry& entry, const QColor& color, QSize pixelSize) {
    QImage image = renderLucideIcon(lucideResourcePath(entry), entry.parts, pixelSize);
    if (!image.isNull())
        tint(image, color);
    return image;
}

} // namespace

QImage renderSymbol(const QString& name, const QColor& color, QSize pixelSize) {
    if (pixelSize.isEmpty())
        return {};
    const SymbolEntry* entry = findSymbol(name);
#ifdef Q_OS_DARWIN
    // The system draws its own symbols best; the table's icon stands in where an older system
    // lacks one.
    const QString systemName =
        entry ? name
              : QString::fromUtf8(fallbackSymbol().name.data(),
                                  static_cast<qsizetype>(fallbackSymbol().name.size()));
    QImage system = renderSystemSymbol(systemName, color, pixelSize);
    if (!system.isNull())
        return system;
#endif
    return renderFromTable(entry ? *entry : fallbackSymbol(), color, pixelSize);
}

QImage renderAppLogo(QSize pixelSize) {
    if (pixelSize.isEmpty())
        return {};
    QImage image(pixelSize, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QSvgRenderer renderer(QString::fromLatin1(appLogoResource));
    renderer.setAspectRatioMode(Qt::KeepAspectRatio);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter, image.rect());
    return image;
}
