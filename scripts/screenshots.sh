#!/usr/bin/env bash
# Draws the main window offscreen in its typical states (no devices, four devices with two ticked,
# switched on with moving meters, the test tone playing, the appearance menu, the zones section
# empty and with three zones, the hot-key sheet while recording and asking about ⌥Space, the splash
# screen over it) and the tray panel (without zones, with three zones and one of them on), light
# and dark, as PNGs into the folder given as argument.
#   scripts/screenshots.sh <folder>
set -euo pipefail
if [[ $# -ne 1 ]]; then
    echo "usage: $0 <folder>" >&2
    exit 2
fi
folder=$(realpath -m "$1")
cd "$(dirname "$0")/.."
./scripts/install-deps.sh
cmake -S . -B build-screenshots -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBRIVELLO_TESTS=ON -DBRIVELLO_SANITIZE=OFF >/dev/null
cmake --build build-screenshots --target window_screenshots
QT_QPA_PLATFORM=offscreen ./build-screenshots/tests/ui/window_screenshots "$folder"
