#!/usr/bin/env bash
# Installs the dependencies, builds Brivello with AddressSanitizer and UndefinedBehaviorSanitizer,
# and runs every test. Tests that need a sound server or a display start private ones.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/install-deps.sh
cmake -S . -B build-test -G Ninja -DCMAKE_BUILD_TYPE=Debug -DBRIVELLO_SANITIZE=ON
cmake --build build-test
# The leaks Qt and libdbus leave at exit are theirs (tests/lsan.supp). Windows draw in software:
# Xvfb's OpenGL (Mesa's llvmpipe) leaves allocations at exit in a module it has already unloaded,
# which no suppression can name.
export LSAN_OPTIONS="suppressions=$PWD/tests/lsan.supp"
export QT_QUICK_BACKEND=software
ctest --test-dir build-test --output-on-failure --timeout 300 -j "$(nproc)"
