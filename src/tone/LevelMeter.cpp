#include "LevelMeter.h"

#include <algorithm>
#include <cmath>

namespace levelmeter {

namespace {
constexpr double kRestingFraction = 0.06;
constexpr double kSilentLevel = 0.001;
} // namespace

bool isMoving(double level, bool active) {
    return active && level > kSilentLevel;
}

double barFraction(int bar, double seconds, double level, bool active) {
    if (!isMoving(level, active))
        return kRestingFraction;
    const double x = bar;
    const double a = 0.6 * std::sin((1.7 * x + 7.0) * seconds + x);
    const double b = 0.4 * std::sin((x + x) + (0.9 * x + 3.0) * seconds);
    const double wave = ((b + a) + 1.0) * 0.5 * 0.8 + 0.2;
    return std::min(level * wave, 1.0);
}

double measuredBarFraction(double level, bool active) {
    if (!isMoving(level, active))
        return kRestingFraction;
    return std::min(level, 1.0);
}

double fromPeak(double peak) {
    if (!std::isfinite(peak) || peak <= 0)
        return 0;
    return std::min(std::round(std::cbrt(peak) / kLevelStep) * kLevelStep, 1.0);
}

double fallen(double shown, double target) {
    if (target >= shown)
        return target;
    // Close enough to silence is silence, so a resting meter stops changing.
    const double next = std::max(target, shown - kFallPerPeak);
    return next <= kSilentLevel ? 0.0 : next;
}

BarColour barColour(double fraction) {
    if (fraction < 0.6)
        return BarColour::green;
    if (fraction < 0.85)
        return BarColour::yellow;
    return BarColour::orange;
}

} // namespace levelmeter
