#pragma once

#include "HotKeyRecording.h"

#include <optional>

class QKeyEvent;

// A toolkit key press in the terms a combination is stored in: macOS key code, NSEvent modifier
// flags and the key's characters ignoring modifiers. Absent for a key no combination can name
// (on X11, one the hot-key backend could not grab).
std::optional<RecordedKeyPress> recordedKeyPress(const QKeyEvent& event);
