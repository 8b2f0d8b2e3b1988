#include "SymbolImageProvider.h"
#include "SymbolRenderer.h"

#include <QGuiApplication>

#include <gtest/gtest.h>

namespace {

int messages = 0;

// The colour of every pixel that is not see-through, unpremultiplied; antialiased edges may
// round by a step or two.
bool onlyColor(const QImage& image, QColor color) {
    const QImage plain = image.convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < plain.height(); ++y)
        for (int x = 0; x < plain.width(); ++x) {
            const QRgb p = plain.pixel(x, y);
            if (qAlpha(p) < 32)
                continue;
            if (std::abs(qRed(p) - color.red()) > 8 || std::abs(qGreen(p) - color.green()) > 8 ||
                std::abs(qBlue(p) - color.blue()) > 8)
                return false;
        }
    return true;
}

int maxAlpha(const QImage& image) {
    int most = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            most = std::max(most, qAlpha(image.pixel(x, y)));
    return most;
}

} // namespace

TEST(SymbolImageProvider, DrawsTheColourAndSizeAskedAndAQuestionMarkForWhatItDoesNotKnow) {
    SymbolImageProvider provider;
    QSize natural;
    const QImage orange = provider.requestImage(QStringLiteral("speaker.wave.2.fill?color=#ff8000"),
                                                &natural, {48, 32});
    EXPECT_EQ(orange.size(), QSize(48, 32));
    EXPECT_EQ(natural, QSize(24, 24));
    EXPECT_EQ(maxAlpha(orange), 255);
    EXPECT_TRUE(onlyColor(orange, QColor(0xff, 0x80, 0x00)));

    // A colour with alpha fades the symbol; one dimension asked for makes a square.
    const QImage faded =
        provider.requestImage(QStringLiteral("play.fill?color=%2380ff0000"), &natural, {40, 0});
    EXPECT_EQ(faded.size(), QSize(40, 40));
    EXPECT_NEAR(maxAlpha(faded), 128, 2);
    EXPECT_TRUE(onlyColor(faded, Qt::red));

    // Bad input draws something sensible and says nothing.
    const QtMessageHandler previous = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext&, const QString&) { ++messages; });
    const QImage unknown =
        provider.requestImage(QStringLiteral("no.such.symbol?color=#00ff00"), &natural, {32, 32});
    const QImage badColor =
        provider.requestImage(QStringLiteral("timer?color=#zzzzzz&size=3"), &natural, {32, 32});
    const QImage noSize = provider.requestImage(QStringLiteral("timer"), &natural, {});
    qInstallMessageHandler(previous);
    EXPECT_EQ(messages, 0);
    EXPECT_TRUE(onlyColor(unknown, Qt::green));
    EXPECT_GT(maxAlpha(unknown), 0);
    EXPECT_TRUE(onlyColor(badColor, Qt::black));
    EXPECT_EQ(noSize.size(), QSize(24, 24));

    // The logo keeps its own colours: more than one of them, and no colour asked for applies.
    const QImage logo =
        provider.requestImage(QStringLiteral("AppLogo?color=#ff0000"), &natural, {64, 64});
    EXPECT_EQ(natural, QSize(256, 256));
    EXPECT_EQ(logo, renderAppLogo({64, 64}));
    EXPECT_FALSE(onlyColor(logo, logo.pixelColor(32, 60)));
    EXPECT_FALSE(onlyColor(logo, Qt::red));
}

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
