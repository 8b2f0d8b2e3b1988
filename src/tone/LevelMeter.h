#pragma once

// The level meter's bars: a row of thin bars that move with two sine waves of the clock each,
// scaled by a level the caller supplies; or, where the sound is measured, that stand at the
// measured level.
namespace levelmeter {

// Height of bar `bar` as a fraction of the meter's height at time `seconds` (since 1 January
// 2001), between 0.2 × level and 1; 0.06 while resting (inactive, or level at or below 0.001).
double barFraction(int bar, double seconds, double level, bool active);

// Whether a meter with these inputs moves at all: only then does it need a clock.
bool isMoving(double level, bool active);

// A measured level's bars: all at the level, resting like the clock's while inactive or silent.
double measuredBarFraction(double level, bool active);

// A measured peak (0…1 of full scale) on the meter's scale: the cube root, the curve of the
// sound server's own volumes, so a tone at half the volume shows at half the height; in steps
// of kLevelStep, so a steady sound changes nothing and nothing is redrawn.
double fromPeak(double peak);
constexpr double kLevelStep = 1.0 / 64; // a quarter point of a 16-point meter
// Where a bar that showed `shown` stands one peak later when the sound is at `target`: it rises
// at once and falls by at most kFallPerPeak, so it neither flickers nor lags.
double fallen(double shown, double target);
// At 25 peaks a second from the top to rest in about half a second, in whole steps.
constexpr double kFallPerPeak = 5 * kLevelStep;

enum class BarColour { green, yellow, orange };
BarColour barColour(double fraction);

// A bar never shrinks below this, so a resting meter still shows where it is.
constexpr double kMinimumBarHeight = 2.0;
constexpr double kBarPitch = 5.0; // bar width 3 plus 2 between bars
constexpr double kBarWidth = 3.0;
constexpr int kFramesPerSecond = 24;

} // namespace levelmeter
