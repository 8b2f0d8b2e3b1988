#!/usr/bin/env bash
# A private, headless sound server for tests and benchmarks that never touches the user's own.
#
#   private-sound-server.sh start <dir> [--server pulseaudio|pipewire] [--with-devices] [--owner PID]
#                                      starts it, prints `export` lines
#   private-sound-server.sh stop <dir> ends every process it started
#
# Both servers speak the PulseAudio protocol on the unix socket <dir>/native (anonymous auth).
# PulseAudio is one process. PipeWire is four: a dbus-daemon of its own, pipewire without any
# ALSA, Bluetooth or camera device, wireplumber to link streams and keep the default sink, and
# pipewire-pulse.
#
# Everything lives in <dir>: home, config, runtime and state directories, the socket, a
# client.conf without autospawn, the logs, `pid` (the process clients talk to) and `pids` (every
# process started).
# Idle sinks suspend as on a desktop: PulseAudio loads module-suspend-on-idle, wireplumber
# suspends idle nodes.
# --with-devices adds four typed null sinks: Bluetooth, USB, built-in and HDMI.
# --owner PID ends the server once that process is gone, so a test that crashes leaves none behind.
set -euo pipefail

usage() {
    echo "usage: $0 start <dir> [--server pulseaudio|pipewire] [--with-devices] [--owner PID]" \
        "| stop <dir>" >&2
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

# The environment of every server process: nothing of the user's, no display, the private bus.
private_env() {
    local dir=$1
    unset DISPLAY WAYLAND_DISPLAY PIPEWIRE_REMOTE PULSE_SERVER
    export DBUS_SESSION_BUS_ADDRESS="unix:path=$dir/bus"
    export HOME="$dir/home" XDG_CONFIG_HOME="$dir/config" XDG_RUNTIME_DIR="$dir/runtime"
    export XDG_STATE_HOME="$dir/state" XDG_DATA_HOME="$dir/home/.local/share"
    export XDG_CACHE_HOME="$dir/home/.cache" PIPEWIRE_RUNTIME_DIR="$dir/runtime"
    export PULSE_RUNTIME_PATH="$dir/runtime" PULSE_STATE_PATH="$dir/state"
    export PULSE_CLIENTCONFIG="$dir/client.conf"
}

# Runs "$@" in the background in the private environment, logging to <dir>/<log>; prints its pid
# and adds it to `pids`.
launch() {
    local dir=$1 log=$2
    shift 2
    (
        private_env "$dir"
        exec "$@" </dev/null >"$dir/$log" 2>&1
    ) &
    echo "$!" >>"$dir/pids"
    echo "$!"
}

# Up to 2 s; whoever connects next reports it if the socket never came.
wait_for_socket() {
    local i
    for ((i = 0; i < 100; i++)); do
        [[ -S $1 ]] && return 0
        sleep 0.02
    done
}

start_pulseaudio() {
    local dir=$1
    # Idle sinks suspend after 5 s, as on every desktop.
    printf '%s\n' "load-module module-native-protocol-unix socket=$dir/native auth-anonymous=1" \
        "load-module module-suspend-on-idle" >"$dir/server.pa"
    launch "$dir" pa.log pulseaudio -n -F "$dir/server.pa" --daemonize=no --exit-idle-time=-1 \
        --realtime=no --high-priority=no --use-pid-file=no --log-target=stderr >"$dir/pid"
}

start_pipewire() {
    local dir=$1
    mkdir -p "$dir/config/pipewire" "$dir/config/wireplumber/main.lua.d"

    # A bus that activates no services: wireplumber and pipewire want one, the user's is not theirs.
    cat >"$dir/bus.conf" <<EOF
<busconfig>
  <type>session</type>
  <listen>unix:path=$dir/bus</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
EOF
    # The stock daemon without real-time scheduling (as PulseAudio runs here), device factories,
    # portal or X11 bell; its two drivers keep the graph running with null sinks only.
    cat >"$dir/config/pipewire/pipewire.conf" <<'EOF'
context.properties = {
    link.max-buffers = 16
    core.daemon = true
    core.name = pipewire-0
    mem.allow-mlock = false
}
context.spa-libs = {
    audio.convert.* = audioconvert/libspa-audioconvert
    support.*       = support/libspa-support
}
context.modules = [
    { name = libpipewire-module-protocol-native }
    { name = libpipewire-module-metadata }
    { name = libpipewire-module-spa-node-factory }
    { name = libpipewire-module-client-node }
    { name = libpipewire-module-client-device }
    { name = libpipewire-module-access }
    { name = libpipewire-module-adapter }
    { name = libpipewire-module-link-factory }
    { name = libpipewire-module-session-manager }
]
context.objects = [
    { factory = spa-node-factory
        args = { factory.name = support.node.driver node.name = Dummy-Driver
                 node.group = pipewire.dummy priority.driver = 20000 } }
    { factory = spa-node-factory
        args = { factory.name = support.node.driver node.name = Freewheel-Driver
                 priority.driver = 19000 node.group = pipewire.freewheel node.freewheel = true } }
]
EOF
    # The stock pipewire-pulse without module-always-sink, whose fallback sink the PulseAudio
    # server here does not have either, listening on <dir>/native.
    cat >"$dir/config/pipewire/pipewire-pulse.conf" <<EOF
context.spa-libs = {
    audio.convert.* = audioconvert/libspa-audioconvert
    support.*       = support/libspa-support
}
context.modules = [
    { name = libpipewire-module-protocol-native }
    { name = libpipewire-module-client-node }
    { name = libpipewire-module-adapter }
    { name = libpipewire-module-metadata }
    { name = libpipewire-module-protocol-pulse }
]
pulse.properties = {
    server.address = [ "unix:$dir/native" ]
}
EOF
    # Wireplumber's policy and defaults, without Bluetooth and without looking for hardware.
    cat >"$dir/config/wireplumber/wireplumber.conf" <<'EOF'
context.properties = {
    log.level = 2
    wireplumber.script-engine = lua-scripting
}
context.spa-libs = {
    audio.convert.* = audioconvert/libspa-audioconvert
    support.*       = support/libspa-support
}
context.modules = [
    { name = libpipewire-module-protocol-native }
    { name = libpipewire-module-client-node }
    { name = libpipewire-module-client-device }
    { name = libpipewire-module-adapter }
    { name = libpipewire-module-metadata }
    { name = libpipewire-module-session-manager }
]
wireplumber.components = [
    { name = libwireplumber-module-lua-scripting, type = module }
    { name = main.lua, type = config/lua }
    { name = policy.lua, type = config/lua }
]
EOF
    cat >"$dir/config/wireplumber/main.lua.d/51-headless.lua" <<'EOF'
alsa_monitor.enabled = false
v4l2_monitor.enabled = false
libcamera_monitor.enabled = false
EOF

    launch "$dir" dbus.log dbus-daemon --config-file="$dir/bus.conf" --nofork --nopidfile >/dev/null
    wait_for_socket "$dir/bus"
    launch "$dir" pipewire.log pipewire >/dev/null
    wait_for_socket "$dir/runtime/pipewire-0"
    launch "$dir" wireplumber.log wireplumber >/dev/null
    launch "$dir" pipewire-pulse.log pipewire-pulse >"$dir/pid"
}

# The same pactl the tests use, in the clients' environment.
client_pactl() {
    local dir=$1
    shift
    (eval "$(client_env "$dir")" && pactl "$@")
}

# The session manager is ready once it answers the pulse side as a client: before that, nothing
# would be linked and no default chosen.
ready() {
    local dir=$1 server=$2
    client_pactl "$dir" info >/dev/null 2>&1 || return 1
    [[ $server == pulseaudio ]] || client_pactl "$dir" list short clients 2>/dev/null |
        grep -q wireplumber
}

typed_sink() {
    # directory, name, description, bus, api, form factor
    client_pactl "$1" load-module module-null-sink "sink_name=$2" \
        "sink_properties=\"device.description='$3' device.class=sound device.bus=$4 device.api=$5 device.form_factor=$6\"" \
        >/dev/null
}

start() {
    local dir=$1 server=$2 with_devices=$3 owner=$4
    mkdir -p "$dir"
    dir=$(cd "$dir" && pwd)
    mkdir -p "$dir/home" "$dir/config/pulse" "$dir/runtime" "$dir/state"
    chmod 700 "$dir/runtime"
    printf 'autospawn = no\n' >"$dir/client.conf"
    cp "$dir/client.conf" "$dir/config/pulse/client.conf"
    rm -f "$dir/native" "$dir/bus" "$dir/runtime/pipewire-0" "$dir/pid" "$dir/pids" "$dir"/*.log

    "start_$server" "$dir"
    local pid pids
    pid=$(cat "$dir/pid")
    pids=$(cat "$dir/pids")
    if [[ -n $owner ]]; then
        (
            while running "$owner" && running "$pid"; do sleep 1; done
            # shellcheck disable=SC2086 # one pid a word
            kill $pids 2>/dev/null || true
            # shellcheck disable=SC2086
            kill -CONT $pids 2>/dev/null || true
        ) </dev/null >/dev/null 2>&1 &
    fi

    # PulseAudio answers in ~0.1 s, PipeWire in ~0.5 s.
    local i
    for ((i = 0; i < 100; i++)); do
        if ! running "$pid"; then
            echo "private sound server exited; see the logs in $dir" >&2
            stop "$dir"
            exit 1
        fi
        if ready "$dir" "$server"; then
            if [[ $with_devices == yes ]]; then
                typed_sink "$dir" bt_speaker "Bluetooth-Lautsprecher" bluetooth bluez speaker
                typed_sink "$dir" usb_dac "USB-Audio" usb alsa headphone
                typed_sink "$dir" builtin_speakers "Eingebaute Lautsprecher" pci alsa internal
                typed_sink "$dir" hdmi_monitor "HDMI-Bildschirm" pci alsa tv
            fi
            client_env "$dir"
            return 0
        fi
        sleep 0.05
    done
    stop "$dir"
    echo "private sound server did not answer within 5 s; see the logs in $dir" >&2
    exit 1
}

# Whether a process still runs; one that has ended but is not yet reaped does not.
running() {
    local stat
    # A plain cat: bash ends the whole shell when $(<file) finds no file (the process is gone).
    stat=$(cat "/proc/$1/stat" 2>/dev/null) || return 1
    [[ ${stat##*) } != Z* ]]
}

stop() {
    local dir=$1
    [[ -f $dir/pids ]] || return 0
    local pids pid i
    pids=$(cat "$dir/pids")
    rm -f "$dir/pid" "$dir/pids"
    # A stopped process (SIGSTOP) ends only once it runs again.
    # shellcheck disable=SC2086 # one pid a word
    kill $pids 2>/dev/null || true
    # shellcheck disable=SC2086
    kill -CONT $pids 2>/dev/null || true
    for pid in $pids; do
        for ((i = 0; i < 150; i++)); do
            running "$pid" || continue 2
            sleep 0.02
        done
        kill -KILL "$pid" 2>/dev/null || true
    done
}

[[ $# -ge 2 ]] || usage
case $1 in
start)
    dir=$2 server=pulseaudio with_devices=no owner=
    shift 2
    while [[ $# -gt 0 ]]; do
        case $1 in
        --with-devices) with_devices=yes ;;
        --server)
            [[ $# -ge 2 && ($2 == pulseaudio || $2 == pipewire) ]] || usage
            server=$2
            shift
            ;;
        --owner)
            [[ $# -ge 2 ]] || usage
            owner=$2
            shift
            ;;
        *) usage ;;
        esac
        shift
    done
    start "$dir" "$server" "$with_devices" "$owner"
    ;;
stop) stop "$2" ;;
*) usage ;;
esac
