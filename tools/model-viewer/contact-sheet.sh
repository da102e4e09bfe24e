#!/usr/bin/env bash
# Renders every model of a data folder with model-viewer under a private Xvfb and puts the
# pictures on one contact sheet.
# Usage: contact-sheet.sh <model-viewer> <data-dir> <out.png>
set -euo pipefail
viewer=$(realpath "$1")
data=$(realpath "$2")
out=$(realpath -m "$3")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# The level's models: file, texture, scale, name, view and options, from the level's facts.
mapfile -t models < <("$viewer" --list)
tiles=()
for entry in "${models[@]}"; do
    read -r file texture scale name view extra <<<"$entry"
    xvfb-run -a -s "-screen 0 1024x768x24" "$viewer" "$data/$file" "$data/$texture" "$scale" \
        "$name" ${extra:-} >/dev/null
    for frame in 0 8 15 23; do
        [ -f "${name}_${view}_${frame}.tga" ] || continue
        convert "${name}_${view}_${frame}.tga" -auto-orient "${name}_${frame}.png"
        tiles+=("${name}_${frame}.png")
        [ "$name" = herder ] || [ "$name" = sheep ] || [ "$name" = wolf ] || break
    done
    if [ "$name" = herder ] || [ "$name" = sheep ] || [ "$name" = wolf ]; then
        convert "${name}_side_8.tga" -auto-orient "${name}_side.png"
        tiles+=("${name}_side.png")
    fi
done
montage "${tiles[@]}" -tile 5x -geometry 256x256+3+3 -background '#222' "$out" 2>/dev/null
echo "contact sheet: $out (${#tiles[@]} pictures)"
