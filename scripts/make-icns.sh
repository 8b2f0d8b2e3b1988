#!/usr/bin/env bash
# Makes the macOS app icon, packaging/macos/Brivello.icns, from the logo src/ui/icons/AppLogo.svg:
# the logo rendered at each size the icon format holds, packed with png2icns. Needs librsvg2-bin
# and icnsutils (apt). On a Mac, `iconutil -c icns` on an .iconset folder of the same PNGs does
# the same.
#   scripts/make-icns.sh [output.icns]
set -euo pipefail
cd "$(dirname "$0")/.."
out=$(realpath -m "${1:-packaging/macos/Brivello.icns}")
for tool in rsvg-convert png2icns; do
    command -v "$tool" >/dev/null || { echo "$0: needs $tool (apt install librsvg2-bin icnsutils)" >&2; exit 1; }
done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
pngs=()
for size in 16 32 48 128 256 512 1024; do
    rsvg-convert -w "$size" -h "$size" src/ui/icons/AppLogo.svg -o "$work/logo$size.png"
    pngs+=("$work/logo$size.png")
done
png2icns "$out" "${pngs[@]}" >/dev/null
echo "$out: $(stat -c %s "$out") bytes"
