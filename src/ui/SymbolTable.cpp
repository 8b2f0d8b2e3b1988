#include "SymbolTable.h"

#include <algorithm>
#include <array>

namespace {

// Lucide has no AirPlay-audio, Bluetooth-waves or stacked-squares icon of the same shape; the
// icons chosen say the same thing to a Linux user (the transport's own logo where there is one).
constexpr std::array symbols{
    // Transports of the device rows.
    SymbolEntry{"wave.3.right", "bluetooth"},
    SymbolEntry{"cable.connector", "usb"},
    SymbolEntry{"laptopcomputer", "laptop"},
    SymbolEntry{"display", "monitor"},
    SymbolEntry{"airplayaudio", "airplay"},
    SymbolEntry{"bolt.horizontal", "zap"},
    SymbolEntry{"rectangle.3.group", "layout-grid"},
    SymbolEntry{"waveform", "audio-waveform"},
    SymbolEntry{"hifispeaker", "speaker"},
    // The cabinet filled, its tweeter, cone and dust cap cut out of it.
    SymbolEntry{"hifispeaker.2.fill", "speaker", "FCCC"},
    // Marks, status and sliders.
    SymbolEntry{"checkmark.circle.fill", "circle-check", "FC"},
    SymbolEntry{"circle", "circle"},
    SymbolEntry{"circle.fill", "circle", "F"},
    SymbolEntry{"speaker.fill", "volume", "F"},
    SymbolEntry{"speaker.wave.2.fill", "volume-2", "FSS"},
    SymbolEntry{"speaker.slash", "volume-off"},
    SymbolEntry{"timer", "timer"},
    // Header, appearance menu and bottom bar.
    SymbolEntry{"arrow.clockwise", "rotate-cw"},
    SymbolEntry{"sun.max", "sun"},
    SymbolEntry{"moon", "moon"},
    SymbolEntry{"circle.lefthalf.filled", "contrast", "SF"},
    SymbolEntry{"play.fill", "play", "F"},
    SymbolEntry{"stop.fill", "square", "F"},
    // Zones, hot keys and the menu-bar panel.
    SymbolEntry{"plus", "plus"},
    SymbolEntry{"play.circle.fill", "circle-play", "XF"},
    SymbolEntry{"square.stack.3d.up.fill", "layers", "FSS"},
    SymbolEntry{"keyboard", "keyboard"},
    SymbolEntry{"trash", "trash"},
    SymbolEntry{"pencil", "pencil"},
    SymbolEntry{"checkmark", "check"},
    SymbolEntry{"xmark.circle", "circle-x"},
    SymbolEntry{"xmark.circle.fill", "circle-x", "FCC"},
    SymbolEntry{"stop.circle", "circle-stop"},
    SymbolEntry{"macwindow", "app-window"},
    SymbolEntry{"power", "power"},
    // The triangle filled, the exclamation mark cut out of it.
    SymbolEntry{"exclamationmark.triangle.fill", "triangle-alert", "FCC"},
};

constexpr SymbolEntry fallback{"questionmark.circle", "circle-question-mark"};

} // namespace

std::span<const SymbolEntry> allSymbols() {
    return symbols;
}

const SymbolEntry* findSymbol(QStringView name) {
    const auto it = std::find_if(symbols.begin(), symbols.end(), [name](const SymbolEntry& e) {
        return name == QLatin1String(e.name.data(), static_cast<qsizetype>(e.name.size()));
    });
    return it == symbols.end() ? nullptr : &*it;
}

const SymbolEntry& fallbackSymbol() {
    return fallback;
}

QString lucideResourcePath(const SymbolEntry& entry) {
    return QStringLiteral(":/icons/lucide/%1.svg")
        .arg(QLatin1String(entry.lucideIcon.data(),
                           static_cast<qsizetype>(entry.lucideIcon.size())));
}
