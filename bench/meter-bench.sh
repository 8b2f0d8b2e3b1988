#!/usr/bin/env bash
# The level meters' CPU cost next to pavucontrol-qt's, on a private sound server and Xvfb:
#   bench/meter-bench.sh            (PulseAudio)
#   BRIVELLO_TEST_SOUND_SERVER=pipewire bench/meter-bench.sh
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/install-deps.sh
if ! command -v pavucontrol-qt >/dev/null; then
    sudo=""
    [[ $(id -u) -ne 0 ]] && sudo=sudo
    $sudo apt-get install -y --no-install-recommends pavucontrol-qt
fi
cmake -S . -B build-bench -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBRIVELLO_TESTS=ON \
    -DBRIVELLO_SANITIZE=OFF >/dev/null
cmake --build build-bench --target meter_bench
./build-bench/bench/meter_bench
