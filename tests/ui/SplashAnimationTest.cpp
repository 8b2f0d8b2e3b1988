#include "SplashAnimation.h"
#include "SplashPlayback.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <gtest/gtest.h>

namespace {

std::vector<ApngFrame> frames(const std::vector<std::optional<double>>& delays) {
    std::vector<ApngFrame> result;
    for (const auto& delay : delays) {
        QImage image(2, 2, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::red);
        result.push_back({image, delay});
    }
    return result;
}

} // namespace

TEST(SplashAnimation, DecodesInTheBackgroundAndPublishesTheTotalLast) {
    SplashAnimation animation;
    QStringList published;
    bool onMainThread = true;
    const auto note = [&](const char* what) {
        published << QLatin1String(what);
        onMainThread =
            onMainThread && QThread::currentThread() == QCoreApplication::instance()->thread();
    };
    QObject::connect(&animation, &SplashAnimation::framesChanged, [&] { note("frames"); });
    QObject::connect(&animation, &SplashAnimation::totalChanged, [&] { note("total"); });
    QSignalSpy total(&animation, &SplashAnimation::totalChanged);
    animation.setSource(
        QUrl::fromLocalFile(QStringLiteral(BRIVELLO_APNG_TEST_FILES "/moving.png")));
    EXPECT_EQ(animation.frameCount(), 0) << "nothing before the decoding has finished";
    ASSERT_TRUE(total.wait(5000));
    EXPECT_EQ(published, QStringList({"frames", "total"}));
    EXPECT_TRUE(onMainThread);

    EXPECT_EQ(animation.frameCount(), 5);
    const std::vector<double> starts{0, 0.1, 0.18, 0.21, 0.46};
    ASSERT_EQ(animation.starts().size(), starts.size());
    for (std::size_t i = 0; i < starts.size(); ++i)
        EXPECT_NEAR(animation.starts()[i], starts[i], 1e-9);
    EXPECT_NEAR(animation.total(), 0.96, 1e-9);

    EXPECT_EQ(animation.frameIndex(0), 0);
    EXPECT_EQ(animation.frameIndex(-1), 0);
    EXPECT_EQ(animation.frameIndex(animation.starts()[3]), 3);
    EXPECT_EQ(animation.frameIndex(0.179), 1);
    EXPECT_EQ(animation.frameIndex(0.96), 4);
    EXPECT_EQ(animation.frameIndex(100), 4);
}

TEST(SplashAnimation, FramesWithoutDelayCountDefaultAndZeroDelaysArePassedOver) {
    SplashAnimation animation;
    EXPECT_EQ(animation.frameIndex(0.5), 0) << "no frames yet";
    animation.publish(frames({0.0, std::nullopt, 0.05}));
    EXPECT_EQ(animation.starts(), (std::vector<double>{0, 0, 0.083}));
    EXPECT_NEAR(animation.total(), 0.133, 1e-12);
    EXPECT_EQ(animation.frameIndex(0), 1) << "a frame with delay 0 starts where the next one does";
    EXPECT_EQ(animation.frameIndex(0.083), 2);

    // A missing file publishes nothing at all.
    SplashAnimation missing;
    QSignalSpy published(&missing, &SplashAnimation::framesChanged);
    missing.setSource(QUrl::fromLocalFile(QStringLiteral("/nonexistent/SplashAnim.png")));
    EXPECT_FALSE(published.wait(300));
    EXPECT_EQ(missing.total(), 0);
}

TEST(SplashPlayback, TheWholeAnimationPlaysOverThePlaybackDuration) {
    SplashAnimation animation;
    animation.publish(frames(std::vector<std::optional<double>>(20, 0.05)));
    SplashPlayback playback;
    playback.setAnimation(&animation);
    playback.setPlaybackDuration(1.6);
    // 20 frames of 0.05 s stretched over 1.6 s: frame i shows from 0.08 × i seconds on.
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(playback.frameIndexAfter(0.08 * i + 1e-9), i);
        if (i > 0) {
            EXPECT_EQ(playback.frameIndexAfter(0.08 * i - 1e-3), i - 1);
        }
    }
    EXPECT_EQ(playback.frameIndexAfter(1.52 + 1e-9), 19);
    EXPECT_EQ(playback.frameIndexAfter(30), 19) << "the last frame stays";
}

TEST(SplashPlayback, FinishesOnceAfterTheDurationOrAtAClick) {
    SplashAnimation animation;
    SplashPlayback playback;
    QSignalSpy finish(&playback, &SplashPlayback::finish);
    playback.setPlaybackDuration(0.25);
    playback.setAnimation(&animation);
    QTest::qWait(300);
    EXPECT_FALSE(playback.started()) << "nothing decoded: no timer, the splash waits for a click";
    EXPECT_EQ(finish.size(), 0);

    QElapsedTimer clock;
    clock.start();
    animation.publish(frames(std::vector<std::optional<double>>(10, 0.1)));
    EXPECT_TRUE(playback.playing());
    QTest::qWait(130);
    playback.advance();
    EXPECT_GE(playback.currentFrame(), 3);
    EXPECT_LE(playback.currentFrame(), 7);
    ASSERT_TRUE(finish.wait(2000));
    EXPECT_GE(clock.elapsed(), 240);
    EXPECT_FALSE(playback.playing());
    const int shown = playback.currentFrame();
    playback.advance();
    playback.finishNow(); // a click after the timer
    EXPECT_EQ(playback.currentFrame(), shown) << "redraws pause once finished";
    EXPECT_EQ(finish.size(), 1);

    // A click while loading ends it at once; decoded frames then start nothing.
    SplashAnimation later;
    SplashPlayback clicked;
    QSignalSpy clickedFinish(&clicked, &SplashPlayback::finish);
    clicked.setAnimation(&later);
    clicked.finishNow();
    EXPECT_EQ(clickedFinish.size(), 1);
    later.publish(frames({0.1, 0.1}));
    QTest::qWait(50);
    EXPECT_FALSE(clicked.started());
    EXPECT_EQ(clickedFinish.size(), 1);
}
