#!/usr/bin/env bash
# A private, headless PulseAudio for tests and benchmarks that never touches the user's server.
#
#   private-sound-server.sh start <dir> [--with-devices] [--owner PID]
#                                      starts it, prints `export` lines
#   private-sound-server.sh stop <dir> ends it by its process id
#
# Everything lives in <dir>: home, config, runtime and state directories, the unix socket
# <dir>/native (anonymous auth), a client.conf without autospawn, the log and the pid.
# --with-devices adds four typed null sinks: Bluetooth, USB, built-in and HDMI.
# --owner PID ends the server once that process is gone, so a test that crashes leaves none behind.
set -euo pipefail

usage() {
    echo "usage: $0 start <dir> [--with-devices] [--owner PID] | stop <dir>" >&2
    exit 2
}

client_env() {
    local dir=$1
    echo "export PULSE_SERVER='unix:$dir/native'"
    echo "export PULSE_CLIENTCONFIG='$dir/client.conf'"
    echo "export PULSE_RUNTIME_PATH='$dir/runtime'"
    echo "export PULSE_STATE_PATH='$dir/state'"
    echo "export PULSE_COOKIE='$dir/cookie'"
}

typed_sink() {
    # name, description, bus, api, form factor
    echo "load-module module-null-sink sink_name=$1 sink_properties=\"device.description='$2' device.class=sound device.bus=$3 device.api=$4 device.form_factor=$5\""
}

start() {
    local dir=$1 with_devices=$2 owner=$3
    mkdir -p "$dir"
    dir=$(cd "$dir" && pwd)
    mkdir -p "$dir/home" "$dir/config/pulse" "$dir/runtime" "$dir/state"
    chmod 700 "$dir/runtime"
    printf 'autospawn = no\n' >"$dir/client.conf"
    cp "$dir/client.conf" "$dir/config/pulse/client.conf"
    {
        echo "load-module module-native-protocol-unix socket=$dir/native auth-anonymous=1"
        if [[ $with_devices == yes ]]; then
            typed_sink bt_speaker "Bluetooth-Lautsprecher" bluetooth bluez speaker
            typed_sink usb_dac "USB-Audio" usb alsa headphone
            typed_sink builtin_speakers "Eingebaute Lautsprecher" pci alsa internal
            typed_sink hdmi_monitor "HDMI-Bildschirm" pci alsa tv
        fi
    } >"$dir/server.pa"
    rm -f "$dir/native" "$dir/pid" "$dir/pa.log"

    (
        unset DBUS_SESSION_BUS_ADDRESS DISPLAY
        export HOME="$dir/home" XDG_CONFIG_HOME="$dir/config" XDG_RUNTIME_DIR="$dir/runtime"
        export PULSE_RUNTIME_PATH="$dir/runtime" PULSE_STATE_PATH="$dir/state"
        export PULSE_CLIENTCONFIG="$dir/client.conf"
        exec pulseaudio -n -F "$dir/server.pa" --daemonize=no --exit-idle-time=-1 \
            --realtime=no --high-priority=no --use-pid-file=no \
            --log-target="file:$dir/pa.log" </dev/null >/dev/null 2>&1
    ) &
    local pid=$!
    echo "$pid" >"$dir/pid"
    if [[ -n $owner ]]; then
        (
            while kill -0 "$owner" 2>/dev/null && kill -0 "$pid" 2>/dev/null; do sleep 1; done
            kill "$pid" 2>/dev/null || true
        ) </dev/null >/dev/null 2>&1 &
    fi

    # Ready when a client gets an answer; typically ~0.1 s.
    local i
    for ((i = 0; i < 100; i++)); do
        if ! kill -0 "$pid" 2>/dev/null; then
            echo "private sound server exited; see $dir/pa.log" >&2
            exit 1
        fi
        if (eval "$(client_env "$dir")" && pactl info >/dev/null 2>&1); then
            client_env "$dir"
            return 0
        fi
        sleep 0.05
    done
    kill "$pid" 2>/dev/null || true
    echo "private sound server did not answer within 5 s; see $dir/pa.log" >&2
    exit 1
}

stop() {
    local dir=$1
    [[ -f $dir/pid ]] || return 0
    local pid
    pid=$(cat "$dir/pid")
    rm -f "$dir/pid"
    kill "$pid" 2>/dev/null || return 0
    local i
    for ((i = 0; i < 60; i++)); do
        kill -0 "$pid" 2>/dev/null || return 0
        sleep 0.05
    done
    kill -KILL "$pid" 2>/dev/null || true
}

[[ $# -ge 2 ]] || usage
case $1 in
start)
    dir=$2 with_devices=no owner=
    shift 2
    while [[ $# -gt 0 ]]; do
        case $1 in
        --with-devices) with_devices=yes ;;
        --owner)
            [[ $# -ge 2 ]] || usage
            owner=$2
            shift
            ;;
        *) usage ;;
        esac
        shift
    done
    start "$dir" "$with_devices" "$owner"
    ;;
stop) stop "$2" ;;
*) usage ;;
esac
