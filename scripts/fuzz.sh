#!/usr/bin/env bash
# Builds the libFuzzer targets of fuzz/ with clang in build-fuzz and runs each one for the given
# number of seconds (default 60), starting from a copy of its example inputs in fuzz/corpus/<target>/.
# Fails on the first crash, leak, sanitizer report or timeout; the input that caused it and the
# fuzzer's log are kept in build-fuzz/findings/<target>/. FUZZ_CC and FUZZ_CXX name another clang.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/install-deps.sh
seconds=${1:-60}
build=build-fuzz

cmake -S . -B "$build" -G Ninja -DBRIVELLO_FUZZ=ON \
  -DCMAKE_C_COMPILER="${FUZZ_CC:-clang-14}" -DCMAKE_CXX_COMPILER="${FUZZ_CXX:-clang++-14}"
cmake --build "$build"

for examples in fuzz/corpus/*/; do
  target=$(basename "$examples")
  # What the fuzzer finds stays in the build folder; the committed examples never change.
  corpus="$build/corpus/$target"
  findings="$build/findings/$target"
  rm -rf "$corpus" "$findings" && mkdir -p "$corpus" "$findings"
  cp "$examples"* "$corpus"/
  options=(-max_total_time="$seconds" -timeout=10 -print_final_stats=1
           -artifact_prefix="$findings/")
  if [[ -f fuzz/$target.dict ]]; then options+=(-dict="fuzz/$target.dict"); fi
  echo "== $target: ${seconds} s from $(ls "$examples" | wc -l) examples"
  # libFuzzer reports every new input; the log keeps that, the terminal gets the outcome.
  log="$findings/fuzz.log"
  if ! UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
      "$build/fuzz/$target" "${options[@]}" "$corpus" >"$log" 2>&1; then
    tail -n 60 "$log"
    echo "== $target FAILED; the input is in $findings/, the whole log in $log" >&2
    exit 1
  fi
  grep -E '^(#[0-9]+\s+DONE|stat::)' "$log"
done
