#!/usr/bin/env bash
# Brivello's window next to pavucontrol-qt on one private sound server and one Xvfb: the time from
# launch to the first map of the titled window and the resident memory once it is up, with the
# default OpenGL and with software rendering, medians over several runs; then the wake-ups per
# second of each with its window open and idle. Brivello is built in build-rel (RelWithDebInfo,
# no sanitizers).
#   bench/window_bench.sh [RUNS]      (RUNS per configuration, default 7)
#
# Under Xvfb every OpenGL client loads Mesa's software renderer (about 44 MB of RSS a desktop with
# a GPU would not show), hence the second row of each: Qt Quick drawing without GL, Qt Widgets
# without the GL integration.
set -euo pipefail
cd "$(dirname "$0")/.."
runs=${1:-7}

./scripts/install-deps.sh
# The yardstick only: not a dependency of Brivello, so not in install-deps.
if ! dpkg-query -W -f='${Status}' pavucontrol-qt 2>/dev/null | grep -q 'install ok installed'; then
    sudo_cmd=()
    [[ $(id -u) -eq 0 ]] || sudo_cmd=(sudo)
    "${sudo_cmd[@]}" apt-get update -qq
    DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends \
        pavucontrol-qt >/dev/null
fi
cmake -S . -B build-rel -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBRIVELLO_SANITIZE=OFF >/dev/null
cmake --build build-rel --target brivello first_map >/dev/null
brivello=$PWD/build-rel/src/app/brivello
first_map=$PWD/build-rel/bench/first_map

work=$(mktemp -d)
xvfb=
cleanup() {
    [[ -z $xvfb ]] || kill "$xvfb" 2>/dev/null || true
    ./scripts/private-sound-server.sh stop "$work/sound"
    rm -rf "$work"
}
trap cleanup EXIT

# Xvfb writes the display number it picked once it accepts clients.
Xvfb -displayfd 3 -nolisten tcp -screen 0 1280x1024x24 3>"$work/display" 2>/dev/null &
xvfb=$!
for _ in $(seq 100); do [[ -s $work/display ]] && break; sleep 0.05; done
display=$(cat "$work/display")
eval "$(./scripts/private-sound-server.sh start "$work/sound" --with-devices --owner $$)"
mkdir -p "$work/home" "$work/config" "$work/runtime"
chmod 700 "$work/runtime"
export DISPLAY=:$display HOME=$work/home XDG_CONFIG_HOME=$work/config XDG_RUNTIME_DIR=$work/runtime
unset WAYLAND_DISPLAY DBUS_SESSION_BUS_ADDRESS

gone() { [[ ! -e /proc/$1 ]] || [[ $(cut -d' ' -f3 "/proc/$1/stat" 2>/dev/null) == Z ]]; }
stop() {
    kill "$1" 2>/dev/null || true
    for _ in $(seq 100); do gone "$1" && return; sleep 0.05; done
    kill -KILL "$1" 2>/dev/null || true
}
rss_kb() { awk '/^VmRSS/ { print $2 }' "/proc/$1/status"; }
# Voluntary and involuntary context switches, summed over every thread.
switches() { cat /proc/"$1"/task/*/status 2>/dev/null | awk '/ctxt_switches/ { n += $2 } END { print n }'; }

# One launch of PROGRAM with SETTING (NAME=value or empty) in its environment:
# "milliseconds-to-map RSS-kB", the RSS a second after the map.
launch() {
    local title=$1 setting=$2 program=$3 ms pid rss
    read -r ms pid < <(env ${setting:+"$setting"} "$first_map" "$title" "$program" 2>>"$work/log")
    if [[ -z ${pid:-} ]]; then
        echo "no window from $program; see $work/log" >&2
        return 1
    fi
    sleep 1
    rss=$(rss_kb "$pid")
    stop "$pid"
    echo "$ms $rss"
}
median() { sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }

declare -A label=(
    [brivello_gl]="brivello" [brivello_sw]="brivello, QT_QUICK_BACKEND=software"
    [pavu_gl]="pavucontrol-qt" [pavu_sw]="pavucontrol-qt, QT_XCB_GL_INTEGRATION=none"
)
declare -A setting=(
    [brivello_gl]="" [brivello_sw]="QT_QUICK_BACKEND=software"
    [pavu_gl]="" [pavu_sw]="QT_XCB_GL_INTEGRATION=none"
)
declare -A program=(
    [brivello_gl]=$brivello [brivello_sw]=$brivello [pavu_gl]=pavucontrol-qt [pavu_sw]=pavucontrol-qt
)
declare -A title=(
    [brivello_gl]=Brivello [brivello_sw]=Brivello [pavu_gl]="Volume Control" [pavu_sw]="Volume Control"
)
configs=(brivello_gl brivello_sw pavu_gl pavu_sw)

# One launch of each first, unmeasured, so every measured one finds the files in the page cache.
for c in "${configs[@]}"; do launch "${title[$c]}" "${setting[$c]}" "${program[$c]}" >/dev/null; done
# Round robin, so a disturbance on the shared machine spreads over all of them.
declare -A times sizes
for ((i = 0; i < runs; i++)); do
    for c in "${configs[@]}"; do
        measured=$(launch "${title[$c]}" "${setting[$c]}" "${program[$c]}")
        read -r ms rss <<<"$measured"
        times[$c]+="$ms "
        sizes[$c]+="$rss "
    done
done

# Wake-ups of an open, idle window over 10 s, a few seconds after it appeared.
wakeups() {
    local ms pid before after
    read -r ms pid < <("$first_map" "$1" "$2" 2>>"$work/log")
    sleep 3
    before=$(switches "$pid")
    sleep 10
    after=$(switches "$pid")
    stop "$pid"
    awk -v a="$after" -v b="$before" 'BEGIN { printf "%.1f", (a - b) / 10 }'
}
brivello_wakeups=$(wakeups Brivello "$brivello")
pavu_wakeups=$(wakeups "Volume Control" pavucontrol-qt)

printf '\n%d runs each, medians (range); %s, Xvfb, private %s\n' "$runs" \
    "$(uname -m)" "$(pactl info | awk -F': ' '/Server Name/ { print $2 }')"
printf '%-45s %20s %8s\n' "" "first map, ms" "RSS, MB"
for c in "${configs[@]}"; do
    t=$(tr ' ' '\n' <<<"${times[$c]}" | grep . | sort -n)
    printf '%-45s %6.0f (%4.0f-%4.0f) %8.1f\n' "${label[$c]}" "$(median <<<"$t")" \
        "$(head -1 <<<"$t")" "$(tail -1 <<<"$t")" \
        "$(tr ' ' '\n' <<<"${sizes[$c]}" | grep . | median | awk '{ print $1 / 1024 }')"
done
printf '\nwake-ups/s, window open and idle, 10 s: brivello %s, pavucontrol-qt %s\n' \
    "$brivello_wakeups" "$pavu_wakeups"
