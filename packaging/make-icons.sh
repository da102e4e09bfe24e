#!/usr/bin/env bash
# Renders the game's icon from the sheep model with our own model viewer (under a private Xvfb),
# cuts the sky-blue background away, and writes one square PNG per size: <out-dir>/<size>.png.
# Usage: make-icons.sh <model-viewer> <data-dir> <out-dir> <size>...
set -euo pipefail

readonly MODEL=AniSheepRun2.fbx
readonly TEXTURE=AniSheepRun2.tga
readonly SCALE=0.01
readonly VIEW=three-quarter
readonly RENDER_SIZE=512
# Margin around the trimmed sheep, in percent of its larger side.
readonly MARGIN_PERCENT=105

if [ $# -lt 4 ]; then
    echo "usage: make-icons.sh <model-viewer> <data-dir> <out-dir> <size>..." >&2
    exit 2
fi
viewer=$(realpath "$1")
data=$(realpath "$2")
out=$(realpath -m "$3")
shift 3
work=$(mktemp -d)
xvfb=""
cleanup() {
    [ -z "$xvfb" ] || kill "$xvfb" 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT
cd "$work"

# A private server on a display number it picks itself, so parallel builds never collide.
Xvfb -displayfd 3 -screen 0 640x640x24 -nolisten tcp 3>display.txt 2>xvfb.txt &
xvfb=$!
for _ in $(seq 100); do
    [ -s display.txt ] && break
    sleep 0.1
done
[ -s display.txt ] || { echo "make-icons: Xvfb did not start: $(cat xvfb.txt)" >&2; exit 1; }
DISPLAY=":$(head -n 1 display.txt)" "$viewer" "$data/$MODEL" "$data/$TEXTURE" "$SCALE" sheep \
    --size "$RENDER_SIZE" >viewer.txt 2>&1 || { cat viewer.txt >&2; exit 1; }

# The viewer's clear colour becomes transparent from the corner inwards, then the sheep is
# trimmed and centred on a square.
convert "sheep_${VIEW}_0.tga" -auto-orient -alpha set -fuzz 3% -fill none \
    -draw "color 0,0 floodfill" -trim +repage trimmed.png
read -r width height < <(identify -format '%w %h\n' trimmed.png)
side=$(((width > height ? width : height) * MARGIN_PERCENT / 100))
mkdir -p "$out"
for size in "$@"; do
    convert trimmed.png -background none -gravity center -extent "${side}x${side}" \
        -resize "${size}x${size}" -strip "PNG32:$out/$size.png"
done
