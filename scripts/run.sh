#!/usr/bin/env bash
# Installs the dependencies, builds Brivello and opens its window. It uses the sound server of the
# session; on a machine without one (headless, a container) it starts a private PulseAudio with
# four virtual speakers, and without an X display a private Xvfb for the window and the hot keys.
# Ctrl-C ends Brivello cleanly: the previous default output comes back.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/install-deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBRIVELLO_TESTS=OFF -DBRIVELLO_SANITIZE=OFF
cmake --build build --target brivello

work=$(mktemp -d "${TMPDIR:-/tmp}/brivello-run.XXXXXX")
xvfb_pid=""
tray_pid=""
cleanup() {
    [[ -n $tray_pid ]] && kill "$tray_pid" 2>/dev/null
    [[ -n $xvfb_pid ]] && kill "$xvfb_pid" 2>/dev/null
    ./scripts/private-sound-server.sh stop "$work/sound" 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT

# Ask for a running server without letting libpulse start one of its own.
printf 'autospawn = no\n' >"$work/probe.conf"
if PULSE_CLIENTCONFIG="$work/probe.conf" pactl info >/dev/null 2>&1; then
    echo "Brivello uses the running sound server."
else
    echo "No sound server is running: starting a private one with four virtual speakers."
    eval "$(./scripts/private-sound-server.sh start "$work/sound" --with-devices --owner $$)"
    pactl list short sinks
fi

if [[ -z ${DISPLAY:-} ]]; then
    exec {display_fd}<> <(:)
    Xvfb -displayfd "$display_fd" -nolisten tcp >/dev/null 2>&1 &
    xvfb_pid=$!
    read -r -t 10 display_number <&"$display_fd"
    export DISPLAY=":$display_number"
    # A tray host, so Brivello's tray icon and panel are there too.
    trayer --edge top --align right --widthtype request --height 24 >/dev/null 2>&1 &
    tray_pid=$!
    echo "No X display: the window opens on a private Xvfb, $DISPLAY. Drive it there with xdotool"
    echo "(DISPLAY=$DISPLAY xdotool search --name Brivello), or see it with ./scripts/screenshots.sh."
fi

echo "Starting Brivello; \"Brivello beenden\" in its tray panel, Ctrl+Q in its window or Ctrl-C here ends it."
./build/src/app/brivello
