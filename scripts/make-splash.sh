#!/usr/bin/env bash
# Makes the splash screen's animated logo, src/ui/assets/SplashAnim.png, from the logo
# src/ui/icons/AppLogo.svg: the logo grows in and fades up, then sound waves spread to both sides
# and the picture holds. Each frame is an SVG rendered with rsvg-convert; apngasm assembles them
# with their delays. Needs librsvg2-bin and apngasm (apt). Change the numbers below and run it
# again to change the animation.
#   scripts/make-splash.sh [output.png]
set -euo pipefail
cd "$(dirname "$0")/.."
out=$(realpath -m "${1:-src/ui/assets/SplashAnim.png}")
for tool in rsvg-convert apngasm; do
    command -v "$tool" >/dev/null || { echo "$0: needs $tool (apt install librsvg2-bin apngasm)" >&2; exit 1; }
done

width=360 height=240   # canvas, transparent: the window's background shows through
logo=200               # the logo's final side
intro=12 waves=10 hold=2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The logo's drawing without its <svg> element, to place it in each frame.
logo_body=$(sed -e '1d' -e '$d' src/ui/icons/AppLogo.svg)

# One arc of a sound wave, centred on the logo, opening to the right (side 1) or left (-1).
arc() { # side radius opacity colour
    awk -v side="$1" -v r="$2" -v o="$3" -v c="$4" -v cx=$((width / 2)) -v cy=$((height / 2)) 'BEGIN {
        a = 28 * 3.14159265 / 180
        x = cx + side * r * cos(a); y1 = cy - r * sin(a); y2 = cy + r * sin(a)
        sweep = side > 0 ? 1 : 0
        printf "<path d=\"M %.2f %.2f A %d %d 0 0 %d %.2f %.2f\" stroke=\"%s\" stroke-opacity=\"%.3f\"/>\n", x, y1, r, r, sweep, x, y2, c, o
    }'
}

frame=0
emit() { # scale opacity wave-progress delay-numerator delay-denominator
    local name
    name=$(printf '%s/frame%03d' "$work" "$frame")
    {
        printf '<svg xmlns="http://www.w3.org/2000/svg" width="%d" height="%d" viewBox="0 0 %d %d">\n' \
            "$width" "$height" "$width" "$height"
        awk -v s="$1" -v o="$2" -v w="$width" -v h="$height" -v l="$logo" 'BEGIN {
            k = s * l / 256
            printf "<g opacity=\"%.3f\" transform=\"translate(%.3f %.3f) scale(%.5f)\">\n", o, w / 2 - 128 * k, h / 2 - 128 * k, k
        }'
        printf '%s\n</g>\n' "$logo_body"
        printf '<g fill="none" stroke-width="9" stroke-linecap="round">\n'
        # Three waves each side, the inner first; each fades in over a third of the wave phase.
        for i in 0 1 2; do
            local o
            o=$(awk -v p="$3" -v i="$i" 'BEGIN { v = (p * 3 - i) ; v = v < 0 ? 0 : (v > 1 ? 1 : v); printf "%.3f", v * (1 - 0.22 * i) }')
            [[ $o == 0.000 ]] && continue
            arc 1 $((116 + 20 * i)) "$o" "#14B8D4"
            arc -1 $((116 + 20 * i)) "$o" "#7C5CFF"
        done
        printf '</g>\n</svg>\n'
    } >"$name.svg"
    rsvg-convert -w "$width" -h "$height" "$name.svg" -o "$name.png"
    printf 'delay=%s/%s\n' "$4" "$5" >"$name.txt"
    frame=$((frame + 1))
}

for ((f = 0; f < intro; ++f)); do
    # Ease out: fast at first, settling on the final size.
    read -r scale opacity < <(awk -v f="$f" -v n="$intro" 'BEGIN {
        p = (f + 1) / n; e = 1 - (1 - p) ^ 3
        printf "%.4f %.4f\n", 0.55 + 0.45 * e, (p < 0.6 ? p / 0.6 : 1)
    }')
    emit "$scale" "$opacity" 0 1 20
done
for ((f = 1; f <= waves; ++f)); do
    emit 1 1 "$(awk -v f="$f" -v n="$waves" 'BEGIN { printf "%.4f", f / n }')" 1 15
done
for ((f = 0; f < hold; ++f)); do
    emit 1 1 1 1 5
done

apngasm "$out" "$work"/frame*.png >/dev/null
echo "$out: $frame frames rendered, $(stat -c %s "$out") bytes"
