#include "LevelMeter.h"
#include "LevelMeterBars.h"

#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include <cmath>

using namespace levelmeter;

TEST(LevelMeter, BarsStayWithinTheirLevelAndRestLow) {
    // At the epoch, bar 0 of a full meter stands at 0.6: the wave's midpoint.
    EXPECT_DOUBLE_EQ(barFraction(0, 0.0, 1.0, true), 0.6);
    EXPECT_EQ(barColour(0.6), BarColour::yellow);
    EXPECT_EQ(barColour(0.85), BarColour::orange);
    EXPECT_EQ(barColour(0.5999), BarColour::green);

    for (double t = 0; t < 30; t += 0.0417) {
        for (int bar = 0; bar < 5; ++bar) {
            const double half = barFraction(bar, t, 0.5, true);
            EXPECT_GE(half, 0.1 - 1e-12);
            EXPECT_LE(half, 0.5 + 1e-12);
            EXPECT_LE(barFraction(bar, t, 3.0, true), 1.0) << "never above the meter";
        }
    }
    EXPECT_EQ(barFraction(2, 7.5, 1.0, false), 0.06);
    EXPECT_EQ(barFraction(2, 7.5, 0.001, true), 0.06);
}

TEST(LevelMeter, AClockRunsOnlyWhileTheBarsMove) {
    LevelMeterBars bars;
    QSignalSpy frames(&bars, &LevelMeterBars::framed);
    bars.setBarCount(5);
    bars.setLevel(0.8);
    EXPECT_FALSE(bars.moving()) << "inactive: no clock";
    QTest::qWait(120);
    const auto restingFrames = frames.size();
    EXPECT_EQ(bars.fractions(), QList<double>(5, 0.06));

    bars.setActive(true);
    EXPECT_TRUE(bars.moving());
    QTest::qWait(500);
    // About 12 frames in half a second; never more than 24 a second.
    EXPECT_GE(frames.size() - restingFrames, 6);
    EXPECT_LE(frames.size() - restingFrames, 14);

    bars.setLevel(0); // silent: resting bars need no clock either
    EXPECT_FALSE(bars.moving());
    EXPECT_EQ(bars.fractions(), QList<double>(5, 0.06));
    bars.setLevel(0.8);
    bars.setBarCount(-3);
    EXPECT_FALSE(bars.moving());
    EXPECT_TRUE(bars.fractions().isEmpty());
}

TEST(LevelMeter, MeasuredBarsStandAtThePeakAndFallSmoothly) {
    // The server's volume curve: full scale is the top, the test tone's 0.18 a little above half.
    EXPECT_DOUBLE_EQ(fromPeak(1.0), 1.0);
    EXPECT_NEAR(fromPeak(0.18), 0.565, 0.005);
    EXPECT_EQ(fromPeak(0.1801), fromPeak(0.1799)) << "a steady tone's peaks show as one level";
    EXPECT_EQ(fromPeak(0.0), 0.0);
    EXPECT_EQ(fromPeak(-1.0), 0.0);
    EXPECT_EQ(fromPeak(std::nan("")), 0.0) << "a broken sample shows nothing";
    EXPECT_EQ(fromPeak(4.0), 1.0) << "clipping stays at the top";

    EXPECT_EQ(fallen(0.2, 0.9), 0.9) << "rises at once";
    double shown = 1.0;
    int peaks = 0;
    for (; shown > 0 && peaks < 100; ++peaks)
        shown = fallen(shown, 0.0);
    EXPECT_EQ(peaks, 13) << "from the top to rest in about half a second, then still";
    EXPECT_EQ(fallen(0.5, 0.45), 0.45) << "a small drop is followed exactly";

    LevelMeterBars bars;
    bars.setMeasured(true);
    bars.setBarCount(5);
    bars.setActive(true);
    bars.setLevel(0.7);
    EXPECT_FALSE(bars.moving()) << "a measured level needs no clock";
    EXPECT_EQ(bars.fractions(), QList<double>(5, 0.7));
    EXPECT_EQ(bars.tiers(), QList<int>(5, 1));
    bars.setLevel(0);
    EXPECT_EQ(bars.fractions(), QList<double>(5, 0.06)) << "silence rests the bars";
    bars.setLevel(0.7);
    bars.setActive(false);
    EXPECT_EQ(bars.fractions(), QList<double>(5, 0.06));
}
