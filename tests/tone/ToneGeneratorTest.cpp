#include "ToneGenerator.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

#include <vector>

namespace {

// An output that takes the tone or refuses it, and remembers what it was asked.
class RecordingOutput : public ToneOutput {
public:
    std::optional<Format> format() override { return currentFormat; }
    std::optional<std::string> play(std::shared_ptr<const ToneBuffer> buffer) override {
        played.push_back(buffer);
        return refusal;
    }
    void stop() override { ++stops; }
    void endByItself() { ended(); }

    std::optional<Format> currentFormat = Format{48000, 2};
    std::optional<std::string> refusal;
    std::vector<std::shared_ptr<const ToneBuffer>> played;
    int stops = 0;
};

} // namespace

TEST(ToneGenerator, StartsAndStopsOnceAndTriesAgainAfterAFailure) {
    RecordingOutput output;
    ToneGenerator tone(output);
    QSignalSpy changes(&tone, &ToneGenerator::isPlayingChanged);

    tone.stop();
    EXPECT_EQ(output.stops, 0) << "stopping while idle changes nothing";

    output.refusal = "device busy";
    testing::internal::CaptureStdout();
    tone.start();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Brivello: engine start failed: device busy\n");
    EXPECT_FALSE(tone.isPlaying());
    EXPECT_EQ(changes.size(), 0);

    output.refusal.reset();
    output.currentFormat = ToneOutput::Format{44100, 1};
    tone.start();
    EXPECT_TRUE(tone.isPlaying());
    ASSERT_EQ(output.played.size(), 2u) << "the next start tries again";
    EXPECT_EQ(output.played.back()->frames, 44100u) << "made from the format of that moment";
    tone.start();
    EXPECT_EQ(output.played.size(), 2u) << "starting while playing changes nothing";

    tone.stop();
    EXPECT_FALSE(tone.isPlaying());
    EXPECT_EQ(output.stops, 1);
    EXPECT_EQ(changes.size(), 2);

    // No output to play on: said once, and nothing plays.
    output.currentFormat.reset();
    testing::internal::CaptureStdout();
    tone.start();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Brivello: engine start failed: no output device\n");
    EXPECT_FALSE(tone.isPlaying());

    // A format no tone can be made in is not a failure of the engine: nothing is said.
    output.currentFormat = ToneOutput::Format{0, 2};
    testing::internal::CaptureStdout();
    tone.start();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(output.played.size(), 2u);
}

TEST(ToneGenerator, AToneTheOutputEndsFreesTheButtonForTheNextStart) {
    RecordingOutput output;
    ToneGenerator tone(output);
    output.endByItself();
    EXPECT_EQ(output.stops, 0) << "nothing played, nothing to end";
    tone.start();
    output.endByItself(); // the sound server went away
    EXPECT_FALSE(tone.isPlaying());
    EXPECT_EQ(output.stops, 1);
    tone.start();
    EXPECT_TRUE(tone.isPlaying()) << "the next start plays again";
    EXPECT_EQ(output.played.size(), 2u);
}

TEST(ToneGenerator, AToneStillPlayingStopsWithItsGenerator) {
    RecordingOutput output;
    {
        ToneGenerator tone(output);
        tone.start();
    }
    EXPECT_EQ(output.stops, 1);
}
