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

models=(
    "AniBrannicRun5.fbx Brannic.tga 0.01 herder three-quarter --animated"
    "AniSheepRun2.fbx AniSheepRun2.tga 0.01 sheep three-quarter --animated"
    "AniWolfRun4.fbx Wolf2.tga 0.016 wolf three-quarter --animated"
    "Flag.fbx Flag.tga 0.005 flag three-quarter"
    "Rocket.fbx Rocket.tga 0.003 rocket three-quarter"
    "Schachbrettkugel100.fbx checkerboard.tga 0.01 sphere three-quarter"
    "Oeltank.fbx Oeltank.tga 0.02 powerplant three-quarter"
    "Level01Version6.fbx orange.tga 0.015 canyon top"
    "Level01Boden3.fbx Terrain2.tga 0.015 terrain three-quarter"
    "TerrainOptimiert5.fbx Canyon1.tga 0.01 preset three-quarter"
    "Sky.fbx Skyred.tga 0.2 sky front --inside"
)
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
