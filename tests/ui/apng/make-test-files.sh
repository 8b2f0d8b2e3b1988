#!/usr/bin/env bash
# Makes the animated PNGs the reader's tests decode, as apngasm builds them (it crops frames to
# what changed, picks blend and dispose operations and may turn them into a palette), with the
# frames they must decode to. The results are committed; run this again only to change them.
# Needs librsvg2-bin and apngasm (apt).
set -euo pipefail
cd "$(dirname "$0")"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# frame <name> <delay> <svg shapes...>: a 48×32 frame of hard-edged shapes on transparency.
frame() {
    local name=$1 delay=$2
    shift 2
    {
        echo '<svg xmlns="http://www.w3.org/2000/svg" width="48" height="32" shape-rendering="crispEdges">'
        printf '%s\n' "$@"
        echo '</svg>'
    } >"$work/$name.svg"
    rsvg-convert "$work/$name.svg" -o "$work/$name.png"
    echo "delay=$delay" >"$work/$name.txt"
}

bar='<rect x="0" y="24" width="48" height="8" fill="#2040e0" fill-opacity="0.5"/>'
# A red square moves right over a half-transparent bar, which then goes; a green block comes.
frame moving1 1/10 '<rect x="4" y="4" width="12" height="12" fill="#e02020"/>' "$bar"
frame moving2 2/25 '<rect x="14" y="4" width="12" height="12" fill="#e02020"/>' "$bar"
frame moving3 3/100 '<rect x="24" y="10" width="12" height="12" fill="#e02020"/>'
frame moving4 1/4 '<rect x="24" y="10" width="12" height="12" fill="#e02020"/>' \
    '<rect x="2" y="2" width="6" height="20" fill="#20c040" fill-opacity="0.75"/>'
frame moving5 1/2 '<rect x="30" y="16" width="12" height="12" fill="#e02020" fill-opacity="0.25"/>'

apngasm moving.png "$work"/moving?.png >/dev/null
cp "$work"/moving?.png .
