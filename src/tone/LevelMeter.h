#pragma once

// The level meter's bars: a row of thin bars that move with two sine waves of the clock each,
// scaled by a level the caller supplies. It measures no audio itself.
namespace levelmeter {

// Height of bar `bar` as a fraction of the meter's height at time `seconds` (since 1 January
// 2001), between 0.2 × level and 1; 0.06 while resting (inactive, or level at or below 0.001).
double barFraction(int bar, double seconds, double level, bool active);

// Whether a meter with these inputs moves at all: only then does it need a clock.
bool isMoving(double level, bool active);

enum class BarColour { green, yellow, orange };
BarColour barColour(double fraction);

// A bar never shrinks below this, so a resting meter still shows where it is.
constexpr double kMinimumBarHeight = 2.0;
constexpr double kBarPitch = 5.0; // bar width 3 plus 2 between bars
constexpr double kBarWidth = 3.0;
constexpr int kFramesPerSecond = 24;

} // namespace levelmeter
