#include "ApngReader.h"
#include "ApngBuilder.h"

#include <QFile>

#include <gtest/gtest.h>

namespace {

QByteArray testFile(const char* name) {
    QFile file(QStringLiteral(BRIVELLO_APNG_TEST_FILES "/%1").arg(QLatin1String(name)));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QImage premultiplied(const QImage& image) {
    return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

using Frame = ApngBuilder::Frame;
const QColor red{224, 32, 32}, blue{32, 64, 224}, green{32, 192, 64};

} // namespace

TEST(ApngReader, AnAssembledAnimationDecodesToTheFramesItWasMadeFrom) {
    const QByteArray file = testFile("moving.png");
    ASSERT_FALSE(file.isEmpty());
    // What Qt alone makes of it: the first frame, and no more.
    EXPECT_EQ(premultiplied(QImage::fromData(file)),
              premultiplied(QImage::fromData(testFile("moving1.png"))));

    // apngasm cropped the frames to what changed, chose dispose operations and a palette with
    // transparency; every frame must still come out as drawn.
    const auto frames = ApngReader::read(file);
    ASSERT_EQ(frames.size(), 5u);
    const double delays[] = {0.1, 0.08, 0.03, 0.25, 0.5};
    for (int i = 0; i < 5; ++i) {
        const QImage source =
            QImage::fromData(testFile(qPrintable(QStringLiteral("moving%1.png").arg(i + 1))));
        EXPECT_EQ(frames[i].image, premultiplied(source)) << "frame " << i;
        ASSERT_TRUE(frames[i].delay.has_value());
        EXPECT_DOUBLE_EQ(*frames[i].delay, delays[i]);
    }

    // A still PNG is one frame that gives no timing of its own.
    const auto still = ApngReader::read(testFile("moving3.png"));
    ASSERT_EQ(still.size(), 1u);
    EXPECT_FALSE(still[0].delay.has_value());
}

TEST(ApngReader, DelaysAreTakenAsWrittenZeroIncluded) {
    const QSize size(4, 4);
    const QByteArray file =
        ApngBuilder(size)
            .hiddenDefault(ApngBuilder::filled(size, Qt::white))
            .frame({.image = ApngBuilder::filled(size, red), .delayNum = 0})
            .frame({.image = ApngBuilder::filled(size, blue), .delayNum = 7, .delayDen = 0})
            .frame({.image = ApngBuilder::filled(size, green), .delayNum = 3, .delayDen = 1})
            .build();
    const auto frames = ApngReader::read(file);
    // The hidden default image belongs to viewers without animation, not to the frames.
    ASSERT_EQ(frames.size(), 3u);
    EXPECT_EQ(frames[0].image.pixelColor(0, 0), red);
    EXPECT_EQ(frames[0].delay, 0.0) << "a zero delay stays zero";
    EXPECT_EQ(frames[1].delay, 0.07) << "a zero denominator counts hundredths";
    EXPECT_EQ(frames[2].delay, 3.0);
}

TEST(ApngReader, BlendAndDisposeOperationsBuildEachFrameOnTheCanvas) {
    const QSize canvas(8, 8);
    QColor halfBlue = blue;
    halfBlue.setAlphaF(0.5);
    const auto frames = ApngReader::read(
        ApngBuilder(canvas)
            .frame({.image = ApngBuilder::filled(canvas, red)})
            // Half-transparent blue over the red, then back to the red.
            .frame({.image = ApngBuilder::filled({4, 4}, halfBlue),
                    .at = {2, 2},
                    .dispose = 2,
                    .blend = 1})
            // A green corner that is cleared to transparency afterwards.
            .frame({.image = ApngBuilder::filled({2, 2}, green),
                    .at = {6, 6},
                    .dispose = 1,
                    .blend = 1})
            // Drawn with source blending, transparency replaces the red.
            .frame({.image = ApngBuilder::filled({2, 2}, Qt::transparent), .at = {0, 0}})
            .build());
    ASSERT_EQ(frames.size(), 4u);
    const auto at = [&](int frame, int x, int y) { return frames[frame].image.pixelColor(x, y); };

    const QColor mixed = at(1, 3, 3);
    EXPECT_EQ(mixed.alpha(), 255);
    EXPECT_NEAR(mixed.red(), (red.red() + blue.red()) / 2, 2);
    EXPECT_NEAR(mixed.blue(), (red.blue() + blue.blue()) / 2, 2);
    EXPECT_EQ(at(1, 0, 0), red);

    EXPECT_EQ(at(2, 3, 3), red) << "disposed to the previous canvas";
    EXPECT_EQ(at(2, 7, 7), green);

    EXPECT_EQ(at(3, 7, 7).alpha(), 0) << "disposed to the background";
    EXPECT_EQ(at(3, 0, 0).alpha(), 0) << "source blending keeps the frame's transparency";
    EXPECT_EQ(at(3, 5, 5), red);
}

TEST(ApngReader, DamagedFramesAreLeftOutAndBadFilesGiveNoFrames) {
    const QSize canvas(6, 6);
    ApngBuilder builder(canvas);
    builder.frame({.image = ApngBuilder::filled(canvas, red)})
        .frame({.image = ApngBuilder::filled(canvas, blue), .delayNum = 2, .damagedCrc = true})
        .frame({.image = ApngBuilder::filled(canvas, blue), .delayNum = 3, .garbageData = true})
        .frame({.image = ApngBuilder::filled({8, 2}, blue), .delayNum = 4}) // wider than the canvas
        .frame({.image = ApngBuilder::filled({2, 2}, green), .at = {4, 4}, .delayNum = 5});
    const QByteArray file = builder.build();
    const auto frames = ApngReader::read(file);
    ASSERT_EQ(frames.size(), 2u);
    EXPECT_EQ(frames[1].delay, 0.5) << "the frames that remain keep their own delays";
    EXPECT_EQ(frames[1].image.pixelColor(0, 0), red) << "a left-out frame draws nothing";
    EXPECT_EQ(frames[1].image.pixelColor(5, 5), green);

    // Cut short inside the last frame: that frame is left out, the others stay.
    EXPECT_EQ(ApngReader::read(QByteArrayView(file).first(file.size() - 20)).size(), 1u);

    QByteArray damagedHeader = file;
    damagedHeader[20] = char(damagedHeader[20] ^ 1);
    QByteArray huge =
        ApngBuilder({9000, 1}).frame({.image = ApngBuilder::filled({1, 1}, red)}).build();
    for (const QByteArray& bad :
         {QByteArray(), QByteArray("GIF89a and more"), file.first(8), damagedHeader, huge})
        EXPECT_TRUE(ApngReader::read(bad).empty());
}
