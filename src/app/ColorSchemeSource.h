#pragma once

#include <functional>
#include <memory>
#include <optional>

// Where the platform states whether the user prefers light or dark.
class ColorSchemeSource {
public:
    virtual ~ColorSchemeSource() = default;
    // True for dark, false for light; none while unknown or when the user stated no preference.
    virtual std::optional<bool> prefersDark() const = 0;
};

// The platform's own source: the XDG desktop portal on Linux, AppKit on macOS. `changed` runs on
// the main thread after prefersDark() changed; never during construction.
std::unique_ptr<ColorSchemeSource> makeColorSchemeSource(std::function<void()> changed);
