#include "PrivateDesktopTest.h"
#include "WindowShot.h"

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <map>

// The real brivello program on a private Xvfb and a private sound server with virtual speakers,
// driven only by pointer events at places found in pictures of its window: two devices ticked,
// switched on, one delayed by dragging its slider, switched off. The results are read back from
// the sound server.

namespace {

const QString kOwnSink = QStringLiteral("de.tandrel.brivello.multioutput");
// Each member plays through a loopback of this latency plus the member's delay.
constexpr int kBaseLatencyMs = 60;

// The window's layout, from its views: device rows with 24 px of margin on either side, the
// selection mark (19 px) at the right end of a row's main line, the slider lines under a ticked
// row indented by 34 px, led by a 14 px symbol and followed by the value in a 44 px box.
constexpr int kRowInset = 24;
constexpr int kMarkSize = 19;
constexpr int kSliderSymbolX = kRowInset + 34;
constexpr int kSliderX = kSliderSymbolX + 14 + 8;
constexpr int kSliderEndInset = kRowInset + 44 + 8;
// A slider's handle is a circle over a 4 px groove.
constexpr int kKnobSize = 16;

bool bluish(QRgb pixel) {
    return qBlue(pixel) - qRed(pixel) > 15;
}
bool reddish(QRgb pixel) {
    return qRed(pixel) - qBlue(pixel) > 15;
}

class WindowEndToEnd : public PrivateDesktopTest {
protected:
    // Real pointer events at a place in the window, then `then` (click 1, mousedown 1, …).
    void pointer(QPoint at, const QStringList& then = {}) {
        xdotool(QStringList{"mousemove", "--window", QString::number(window),
                            QString::number(at.x()), QString::number(at.y())} +
                then);
    }
    void click(QPoint at) { pointer(at, {"click", "1"}); }

    // Waits for a picture of the window that passes `check`; the last one taken is kept.
    bool waitForShot(const std::function<bool(const WindowShot&)>& check,
                     int milliseconds = 10000) {
        return waitUntil(
            [&] {
                last = WindowShot::capture(x, window);
                return last && check(*last);
            },
            milliseconds);
    }

    // Waits for a picture that passes `check` after the window has settled: nothing on it changed
    // for `quiet` milliseconds, so the splash over it has faded away and takes no more clicks.
    bool waitForSteadyShot(const std::function<bool(const WindowShot&)>& check, int quiet = 800) {
        std::optional<WindowShot> previous;
        QDeadlineTimer unchanged(quiet);
        return waitUntil(
            [&] {
                last = WindowShot::capture(x, window);
                if (!last || !previous || !(*last == *previous))
                    unchanged.setRemainingTime(quiet);
                previous = last;
                return last && check(*last) && unchanged.hasExpired();
            },
            30000);
    }

    // The lines of the dividers under the header and over the bottom bar: the first and the last
    // line whose left edge differs from the window's corners.
    static std::pair<int, int> dividers(const WindowShot& shot) {
        int top = 1;
        while (top < shot.height() - 1 && WindowShot::alike(shot.at(5, top), shot.at(5, 0), 4))
            ++top;
        int bottom = shot.height() - 2;
        const QRgb bar = shot.at(5, shot.height() - 1);
        while (bottom > top && WindowShot::alike(shot.at(5, bottom), bar, 4))
            --bottom;
        return {top, bottom};
    }
    // The selection marks between the dividers, one per device row, top to bottom; faint on rows
    // that cannot be ticked while switched on.
    static std::vector<WindowShot::Span> marks(const WindowShot& shot) {
        const auto [top, bottom] = dividers(shot);
        const int right = shot.width() - kRowInset - 1;
        std::vector<WindowShot::Span> found;
        for (const auto& span : shot.drawnLines(right - kMarkSize, right, top + 1, bottom - 1,
                                                right - kMarkSize - 6, 8))
            if (span.length() >= kMarkSize - 4 && span.length() <= kMarkSize + 4)
                found.push_back(span);
        return found;
    }
    // A row is ticked when its background carries the accent tint.
    static bool ticked(const WindowShot& shot, const WindowShot::Span& mark) {
        return bluish(shot.at(kRowInset - 8, mark.middle()));
    }
    // The switch in the bottom bar: everything drawn in its right half (the test tone's button
    // sits at the left end).
    static QRect barButton(const WindowShot& shot) {
        const int top = dividers(shot).second + 1;
        const int middle = shot.width() / 2;
        return shot.drawnBounds(QRect(middle, top, shot.width() - middle, shot.height() - top),
                                shot.at(5, shot.height() - 1));
    }
    static bool prominent(const WindowShot& shot, const QRect& button) {
        return shot.count(button, qRgb(0x00, 0x7a, 0xff)) > button.width() * button.height() / 2;
    }
    // The delay slider's line under a ticked row: the second symbol left of the sliders (the
    // 11 px ones; the device's caption may reach into the column above them).
    static std::optional<int> delayLine(const WindowShot& shot, const WindowShot::Span& mark) {
        std::vector<WindowShot::Span> symbols;
        for (const auto& span : shot.drawnLines(kSliderSymbolX - 1, kSliderSymbolX + 14,
                                                mark.last + 1, mark.last + 60, kSliderSymbolX - 8))
            if (span.length() >= 7)
                symbols.push_back(span);
        return symbols.size() >= 2 ? std::optional(symbols[1].middle()) : std::nullopt;
    }
    // A slider's handle: only the round handle reaches above the groove, so everything drawn in
    // the band over the groove is the handle. Its rim bounds it: pressed, its fill is nearly the
    // tint of a ticked row.
    static std::optional<WindowShot::Span> handle(const WindowShot& shot, int line) {
        const QRect band(kSliderX - 2, line - 7, shot.width() - kSliderEndInset - kSliderX, 5);
        const QRect drawn = shot.drawnBounds(band, shot.at(kSliderSymbolX - 8, line));
        if (drawn.height() < 3 || drawn.width() < kKnobSize - 6 || drawn.width() > kKnobSize + 2)
            return std::nullopt;
        return WindowShot::Span{drawn.left(), drawn.right()};
    }
    // The groove with the handle on it, from the handle on.
    static WindowShot::Span groove(const WindowShot& shot, int line, const WindowShot::Span& knob) {
        return shot
            .drawnColumns(knob.first, shot.width() - kSliderEndInset, line - 2, line + 2,
                          shot.at(kSliderSymbolX - 8, line))
            .front();
    }

    // The loopbacks' latencies by the device they play on. A loopback names its sink by index.
    std::map<std::string, int> loopbacks() {
        static const QRegularExpression sink("\\bsink='?([^' ]+)'?"),
            latency("latency_msec=(\\d+)");
        std::map<QString, QString> names;
        for (const auto& line : sound.list("sinks"))
            names[line.section('\t', 0, 0)] = line.section('\t', 1, 1);
        std::map<std::string, int> found;
        for (const auto& module : sound.modules().filter("module-loopback")) {
            const QString target = sink.match(module).captured(1);
            const QString name = names.contains(target) ? names[target] : target;
            found[name.toStdString()] = latency.match(module).captured(1).toInt();
        }
        return found;
    }
    bool ownDeviceIsDefault() { return sound.defaultSink() == kOwnSink.toStdString(); }
    bool nothingLeft() {
        return sound.defaultSink() == originalDefault &&
               !sound.pactl({"list", "short", "sinks"}).contains("brivello") &&
               !sound.pactl({"list", "short", "modules"}).contains("brivello");
    }

    xcb_window_t window = 0;
};

} // namespace

TEST_F(WindowEndToEnd, TickSwitchOnDelayAndSwitchOffWithThePointer) {
    startBrivello();
    ASSERT_TRUE(waitUntil(
        [this] {
            window = xdotool({"search", "--onlyvisible", "--name", "^Brivello$"}).toUInt();
            return window != 0;
        },
        30000));
    const QString geometry = xdotool({"getwindowgeometry", "--shell", QString::number(window)});
    EXPECT_TRUE(geometry.contains("WIDTH=520") && geometry.contains("HEIGHT=680"))
        << geometry.toStdString();

    QThread::msleep(500);
    endSplash(QString::number(window));
    // Four devices sorted by name: Bluetooth, built-in, HDMI, USB; none ticked, so no switch.
    ASSERT_TRUE(waitForSteadyShot([](const WindowShot& shot) { return marks(shot).size() == 4; }))
        << "the window without the splash";
    for (const auto& mark : marks(*last))
        EXPECT_FALSE(ticked(*last, mark));
    EXPECT_FALSE(prominent(*last, barButton(*last))) << "nothing to switch on yet";

    // A click on a row ticks it and opens its sliders, which push the rows below it down.
    click({last->width() / 2, marks(*last)[1].middle()});
    ASSERT_TRUE(waitForShot([](const WindowShot& shot) {
        const auto found = marks(shot);
        return found.size() == 4 && ticked(shot, found[1]) && delayLine(shot, found[1]);
    })) << "the built-in speakers' row";
    click({last->width() / 2, marks(*last)[3].middle()});
    ASSERT_TRUE(waitForShot([](const WindowShot& shot) {
        const auto found = marks(shot);
        return found.size() == 4 && ticked(shot, found[3]) && prominent(shot, barButton(shot));
    })) << "the USB row, and \"Aktivieren (2)\" in the accent colour";
    EXPECT_FALSE(ticked(*last, marks(*last)[0]) || ticked(*last, marks(*last)[2]));

    click(barButton(*last).center());
    ASSERT_TRUE(waitUntil([this] { return ownDeviceIsDefault() && loopbacks().size() == 2; }));
    const std::map<std::string, int> switchedOn{{"builtin_speakers", kBaseLatencyMs},
                                                {"usb_dac", kBaseLatencyMs}};
    EXPECT_EQ(loopbacks(), switchedOn) << "Brivello's device plays on exactly the ticked two";
    ASSERT_TRUE(waitForShot([](const WindowShot& shot) {
        const QRect button = barButton(shot);
        return button.width() > 40 && reddish(shot.at(button.left() + 4, button.center().y()));
    })) << "the switch turns into the red \"Deaktivieren\"";

    // Dragging the USB device's delay slider to the middle of its groove: the handle follows the
    // pointer, and letting go rebuilds the multi-output device once with the new delay.
    ASSERT_TRUE(waitForShot([](const WindowShot& shot) {
        const auto found = marks(shot);
        return found.size() == 4 && delayLine(shot, found[3]) &&
               handle(shot, *delayLine(shot, found[3]));
    }));
    const int line = *delayLine(*last, marks(*last)[3]);
    const WindowShot::Span knob = *handle(*last, line);
    const WindowShot::Span track = groove(*last, line, knob);
    const int target = track.middle();
    // The value under the handle's centre, in 5 ms steps from 0 to 400 ms.
    const double fraction =
        (target - track.first - knob.length() / 2.0) / (track.length() - knob.length());
    const int expectedDelay = 5 * static_cast<int>(std::lround(80.0 * fraction));
    pointer({knob.middle(), line}, {"mousedown", "1"});
    for (int step = 1; step <= 4; ++step)
        pointer({knob.middle() + (target - knob.middle()) * step / 4, line});
    ASSERT_TRUE(waitForShot([&](const WindowShot& shot) {
        const auto moved = handle(shot, line);
        return moved && std::abs(moved->middle() - target) <= 2;
    })) << "the handle under the pointer";
    EXPECT_EQ(loopbacks(), switchedOn) << "nothing is rebuilt while the slider is held";
    pointer({target, line}, {"mouseup", "1"});
    // The device is rebuilt member by member, the USB device last.
    ASSERT_TRUE(waitUntil([this] {
        const auto now = loopbacks();
        return now.size() == 2 && now.contains("usb_dac") && now.at("usb_dac") != kBaseLatencyMs;
    }));
    const auto delayed = loopbacks();
    EXPECT_NEAR(delayed.at("usb_dac"), kBaseLatencyMs + expectedDelay, 10);
    EXPECT_EQ(delayed.at("usb_dac") % 5, 0) << "the delay moves in 5 ms steps";
    EXPECT_EQ(delayed.at("builtin_speakers"), kBaseLatencyMs);
    EXPECT_TRUE(ownDeviceIsDefault());

    // The switch is now the red "Deaktivieren"; it puts the previous default back.
    ASSERT_TRUE(waitForShot([](const WindowShot& shot) {
        const QRect button = barButton(shot);
        return button.width() > 40 && reddish(shot.at(button.left() + 4, button.center().y()));
    }));
    const QRect off = barButton(*last);
    click(off.center());
    EXPECT_TRUE(waitUntil([this] { return nothingLeft(); }));
    EXPECT_TRUE(waitForShot([](const WindowShot& shot) {
        const auto found = marks(shot);
        return found.size() == 4 && ticked(shot, found[1]) && ticked(shot, found[3]) &&
               prominent(shot, barButton(shot));
    })) << "the ticks stay, ready to switch on again";

    brivello.terminate();
    ASSERT_TRUE(brivello.waitForFinished(10000));
    EXPECT_EQ(brivello.exitCode(), 0);
}
