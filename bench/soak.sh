#!/usr/bin/env bash
# Switches a two-device zone on and off through the command line, as a script or a desktop
# shortcut would, many times over on a private PulseAudio and then on PipeWire: the time per
# on/off cycle (two `brivello` calls, each a process start, plus the switching), the running
# Brivello's resident memory along the way, and the sound server's modules at the end (nothing of
# Brivello's may be left).
#   bench/soak.sh [PULSE_CYCLES] [PIPEWIRE_CYCLES] [--asan]     (defaults 1000 and 200)
# --asan runs the sanitizer build (build-test) with LeakSanitizer on at Brivello's exit and prints
# what it reports; figures from it are not comparable with the plain build's.
set -euo pipefail
cd "$(dirname "$0")/.."
pulse_cycles=${1:-1000}
pipewire_cycles=${2:-200}
asan=${3:-}

./scripts/install-deps.sh >/dev/null
if [[ $asan == --asan ]]; then
    cmake -S . -B build-test -G Ninja -DCMAKE_BUILD_TYPE=Debug -DBRIVELLO_SANITIZE=ON >/dev/null
    cmake --build build-test --target brivello >/dev/null
    brivello=$PWD/build-test/src/app/brivello
else
    cmake -S . -B build-rel -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBRIVELLO_SANITIZE=OFF >/dev/null
    cmake --build build-rel --target brivello >/dev/null
    brivello=$PWD/build-rel/src/app/brivello
fi

work=$(mktemp -d)
# A copy: a rebuild during the run must not swap the program under it.
cp "$brivello" "$work/brivello"
brivello=$work/brivello
xvfb=
cleanup() {
    [[ -z $xvfb ]] || kill "$xvfb" 2>/dev/null || true
    ./scripts/private-sound-server.sh stop "$work/sound" 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT

Xvfb -displayfd 3 -nolisten tcp -screen 0 1280x1024x24 3>"$work/display" 2>/dev/null &
xvfb=$!
for _ in $(seq 100); do [[ -s $work/display ]] && break; sleep 0.05; done
export DISPLAY=:$(cat "$work/display")
unset WAYLAND_DISPLAY

now_ms() { echo $(($(date +%s%N) / 1000000)); }
rss_kb() { awk '/^VmRSS/ { print $2 }' "/proc/$1/status"; }

# One soak on SERVER (pulseaudio or pipewire) for CYCLES cycles.
soak() {
    local server=$1 cycles=$2
    ((cycles > 0)) || return 0
    eval "$(./scripts/private-sound-server.sh start "$work/sound" --server "$server" --with-devices --owner $$)"
    # The private server's script points HOME and the XDG folders into its own folder.
    mkdir -p "$work/$server/config/tandrel" "$work/$server/runtime"
    chmod 700 "$work/$server/runtime"
    export HOME=$work/$server XDG_CONFIG_HOME=$work/$server/config XDG_RUNTIME_DIR=$work/$server/runtime
    cat >"$XDG_CONFIG_HOME/tandrel/brivello.conf" <<'INI'
[General]
brivello.zones.v1="@ByteArray([{\"id\":\"5E3C1B0A-8F2D-4C61-9A7E-2B4D6F8A0C1E\",\"name\":\"Soak\",\"deviceUIDs\":[\"usb_dac\",\"builtin_speakers\"],\"hotKey\":null}])"
INI
    local modules_before
    modules_before=$(pactl list short modules | wc -l)
    if [[ $asan == --asan ]]; then
        export ASAN_OPTIONS=detect_leaks=1 QT_QUICK_BACKEND=software
    fi
    "$brivello" >"$work/$server.log" 2>&1 &
    local pid=$!
    for _ in $(seq 200); do "$brivello" --status >/dev/null 2>&1 && break; sleep 0.1; done
    # The calls themselves need no leak check: only the running Brivello's is of interest.
    local client_env=(env ASAN_OPTIONS=detect_leaks=0)

    local start rss10=- rss_half=- rss_last=- failures=0 i
    local -a times=()
    for ((i = 1; i <= cycles; i++)); do
        start=$(now_ms)
        "${client_env[@]}" "$brivello" --on Soak >/dev/null || failures=$((failures + 1))
        "${client_env[@]}" "$brivello" --off >/dev/null || failures=$((failures + 1))
        times+=($(($(now_ms) - start)))
        ((i == 10)) && rss10=$(rss_kb $pid)
        ((i == cycles / 2)) && rss_half=$(rss_kb $pid)
        ((i == cycles)) && rss_last=$(rss_kb $pid)
    done
    "${client_env[@]}" "$brivello" --quit >/dev/null
    wait $pid || true
    local modules_after brivello_modules
    modules_after=$(pactl list short modules | wc -l)
    brivello_modules=$(pactl list short modules | grep -c brivello || true)
    ./scripts/private-sound-server.sh stop "$work/sound"

    printf '%s\n' "${times[@]}" | sort -n >"$work/times"
    local median p95 mean
    median=$(awk -v n="${#times[@]}" 'NR == int((n + 1) / 2)' "$work/times")
    p95=$(awk -v n="${#times[@]}" 'NR == int(n * 0.95 + 0.5)' "$work/times")
    mean=$(awk '{ s += $1 } END { printf "%.0f", s / NR }' "$work/times")
    echo "== $server: $cycles on/off cycles through the command line"
    echo "   per cycle: median $median ms, mean $mean ms, 95th percentile $p95 ms; failed calls: $failures"
    echo "   Brivello's RSS: cycle 10 ${rss10} kB, cycle $((cycles / 2)) ${rss_half} kB, cycle $cycles ${rss_last} kB"
    echo "   server modules: $modules_before before, $modules_after after, Brivello's left: $brivello_modules"
    if [[ $asan == --asan ]]; then
        echo "   sanitizer report at exit:"
        grep -E "ERROR: |SUMMARY: |Direct leak" "$work/$server.log" | sed 's/^/     /' ||
            echo "     none"
        cp "$work/$server.log" "${TMPDIR:-/tmp}/brivello-soak-$server.log"
        echo "   the whole report: ${TMPDIR:-/tmp}/brivello-soak-$server.log"
    fi
}

soak pulseaudio "$pulse_cycles"
soak pipewire "$pipewire_cycles"
