#include "SymbolTable.h"
#include "LucideIcon.h"
#include "SymbolRenderer.h"

#include <QFile>
#include <QImage>
#include <QStringList>

#include <gtest/gtest.h>

namespace {

// Every symbol the window, the device rows, the zones, the hot-key sheet, the menu-bar panel and
// its tray icon name.
const QStringList symbolsTheViewsUse =
    QStringLiteral("wave.3.right cable.connector laptopcomputer display airplayaudio "
                   "bolt.horizontal rectangle.3.group waveform hifispeaker hifispeaker.2.fill "
                   "checkmark.circle.fill circle circle.fill speaker.fill speaker.wave.2.fill "
                   "speaker.slash timer arrow.clockwise sun.max moon circle.lefthalf.filled "
                   "play.fill stop.fill plus play.circle.fill square.stack.3d.up.fill "
                   "xmark.circle.fill xmark.circle stop.circle macwindow power keyboard trash "
                   "pencil checkmark")
        .split(QLatin1Char(' '));

QString nameOf(const SymbolEntry& entry) {
    return QString::fromLatin1(entry.name.data(), static_cast<qsizetype>(entry.name.size()));
}

int coloredPixels(const QImage& image) {
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            count += qAlpha(image.pixel(x, y)) > 127;
    return count;
}

} // namespace

TEST(SymbolTable, EverySymbolTheViewsUseIsDrawnFromAnIconThatShipsWithTheProgram) {
    for (const QString& name : symbolsTheViewsUse)
        EXPECT_NE(findSymbol(name), nullptr) << name.toStdString();
    EXPECT_EQ(findSymbol(u"no.such.symbol"), nullptr);

    std::vector<SymbolEntry> entries(allSymbols().begin(), allSymbols().end());
    entries.push_back(fallbackSymbol());
    for (const SymbolEntry& entry : entries) {
        const QString path = lucideResourcePath(entry);
        SCOPED_TRACE(nameOf(entry).toStdString() + " from " + path.toStdString());
        EXPECT_TRUE(QFile::exists(path));
        const QImage drawn = renderSymbol(nameOf(entry), Qt::blue, {20, 20});
        EXPECT_EQ(drawn.size(), QSize(20, 20));
        EXPECT_GT(coloredPixels(drawn), 10);
    }
    EXPECT_TRUE(QFile::exists(QStringLiteral(":/icons/lucide/LICENSE")));
}

#ifndef Q_OS_DARWIN
// AppKit draws the filled symbols itself on macOS; elsewhere they are made from outlines.
TEST(SymbolTable, FilledSymbolsCoverMoreThanTheOutlinesTheyAreMadeOf) {
    for (const SymbolEntry& entry : allSymbols()) {
        if (entry.parts.find_first_of("FX") == std::string_view::npos)
            continue;
        SCOPED_TRACE(nameOf(entry).toStdString());
        const QImage outline = renderLucideIcon(lucideResourcePath(entry), {}, {48, 48});
        const QImage filled = renderSymbol(nameOf(entry), Qt::black, {48, 48});
        EXPECT_GT(coloredPixels(filled), coloredPixels(outline) * 11 / 10);
    }

    // The check mark is cut out of the filled disc: its corner at (10.5, 14.5) of Lucide's 24 × 24
    // is see-through, the disc above and below it solid.
    const QImage check = renderSymbol(QStringLiteral("checkmark.circle.fill"), Qt::black, {48, 48});
    EXPECT_EQ(qAlpha(check.pixel(21, 29)), 0);
    EXPECT_EQ(qAlpha(check.pixel(24, 8)), 255);
    EXPECT_EQ(qAlpha(check.pixel(24, 38)), 255);
}
#endif
