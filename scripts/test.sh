#!/usr/bin/env bash
# Installs the dependencies, builds Brivello with AddressSanitizer and UndefinedBehaviorSanitizer,
# and runs every test. Tests that need a sound server or a display start private ones. Then each
# fuzz target runs for a minute.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/install-deps.sh
cmake -S . -B build-test -G Ninja -DCMAKE_BUILD_TYPE=Debug -DBRIVELLO_SANITIZE=ON
cmake --build build-test
ctest --test-dir build-test --output-on-failure --timeout 300 -j "$(nproc)"
./scripts/fuzz.sh 60
