#!/usr/bin/env bash
# Installs the build into a temporary root (DESTDIR) and plays from the installed launcher under a
# private Xvfb, with HOME and XDG_DATA_HOME in a temporary folder: the first start fills the
# player's folder, a second keeps the player's edited settings, a second player gets a folder of
# their own, a folder that cannot be made is one line on stderr, and the installed tree stays as
# installed. The menu entry, the AppStream metadata and the manual page must pass their validators.
# Usage: test-install.sh <build-dir> <work-dir>
set -euo pipefail

readonly PREFIX=/usr
readonly EDITED_MODE=800x600:24@60
readonly WAIT_TICKS=1200 # tenths of a second

build=$(realpath "$1")
work=$(realpath -m "$2")
rm -rf "$work"
mkdir -p "$work"
root=$work/root
launcher=$root$PREFIX/games/herder
data=$root$PREFIX/share/games/herder

fail() {
    echo "FAIL: $*" >&2
    exit 1
}

# The installed tree: every path with its mode, size and time of last change.
snapshot() { (cd "$root" && find . -printf '%p %m %s %T@\n' | sort); }

check_installed() {
    local path
    for path in games/herder lib/games/herder/herder share/games/herder/settings.ini \
        share/games/herder/Sky.fbx share/games/herder/Skyred.tga \
        share/applications/herder.desktop share/icons/hicolor/16x16/apps/herder.png \
        share/icons/hicolor/256x256/apps/herder.png share/man/man6/herder.6.gz \
        share/doc/herder/copyright share/doc/herder/changelog.gz; do
        [ -e "$root$PREFIX/$path" ] || fail "$PREFIX/$path was not installed"
    done
    [ -x "$launcher" ] || fail "the launcher is not executable"
    [ ! -e "$data/.stamp" ] || fail "the build's stamp file was installed"
}

validate() {
    local metainfo warnings
    desktop-file-validate "$root$PREFIX/share/applications/herder.desktop" ||
        fail "desktop-file-validate"
    metainfo=$(echo "$root$PREFIX"/share/metainfo/*.metainfo.xml)
    appstreamcli validate --no-net "$metainfo" >"$work/appstream.txt" 2>&1 ||
        fail "appstreamcli validate: $(cat "$work/appstream.txt")"
    warnings=$(LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -E UTF-8 -l \
        "$root$PREFIX/share/man/man6/herder.6.gz" 2>&1 >/dev/null)
    [ -z "$warnings" ] || fail "man --warnings: $warnings"
}

# Starts the launcher on a private X server with the given environment, waits for the level,
# quits with p and prints how the launcher ended.
play() {
    local log=$1 xvfb display pid status=hung loads
    shift
    Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp -noreset 3>"$work/display.txt" \
        2>"$work/xvfb.txt" &
    xvfb=$!
    for _ in $(seq 100); do
        [ -s "$work/display.txt" ] && break
        sleep 0.1
    done
    [ -s "$work/display.txt" ] || fail "Xvfb did not start: $(cat "$work/xvfb.txt")"
    display=:$(head -n 1 "$work/display.txt")
    env "$@" DISPLAY="$display" "$launcher" >"$work/stdout.txt" 2>"$work/stderr.txt" &
    pid=$!
    # The models are loaded when the level logs its set-up a second time.
    for _ in $(seq "$WAIT_TICKS"); do
        loads=$(grep -c 'initialising scene' "$log" 2>/dev/null || true)
        [ "${loads:-0}" -ge 2 ] && break
        kill -0 "$pid" 2>/dev/null || break
        sleep 0.1
    done
    DISPLAY=$display xdotool search --sync --name Herder >/dev/null 2>&1 || true
    DISPLAY=$display xdotool key p 2>/dev/null || true
    for _ in $(seq "$WAIT_TICKS"); do
        kill -0 "$pid" 2>/dev/null || break
        sleep 0.1
    done
    if kill -0 "$pid" 2>/dev/null; then
        kill -9 "$pid"
    else
        wait "$pid" && status=exit:0 || status=exit:$?
    fi
    kill "$xvfb"
    wait "$xvfb" 2>/dev/null || true
    echo "$status"
}

DESTDIR=$root cmake --install "$build" --prefix "$PREFIX" >"$work/install.txt" 2>&1 ||
    fail "cmake --install: $(cat "$work/install.txt")"
check_installed
validate
before=$(snapshot)
home=$work/home
folder=$work/xdg/herder
mkdir -p "$home"

# First start: the folder is made and filled.
status=$(play "$folder/log.txt" HOME="$home" XDG_DATA_HOME="$work/xdg")
[ "$status" = exit:0 ] || fail "first start ended as $status: $(cat "$work/stderr.txt")"
cmp -s "$folder/settings.ini" "$data/settings.ini" || fail "settings.ini not copied"
[ -f "$folder/log.txt" ] || fail "no log.txt in the player's folder"
default_mode=$(sed -n 's/^G_GAMEMODESTRING=//p' "$data/settings.ini")
[ "$(head -n 1 "$folder/log.txt")" = "$default_mode" ] || fail "first start did not log its mode"
[ "$(readlink "$folder/Sky.fbx")" = "$data/Sky.fbx" ] || fail "Sky.fbx is not linked to the data"
if grep -E "could not be imported|Unable to load" "$folder/log.txt"; then
    fail "the game did not find its models through the links"
fi

# Second start: the player's edited settings stay and are the ones read.
sed -i "s/^G_GAMEMODESTRING=.*/G_GAMEMODESTRING=$EDITED_MODE/" "$folder/settings.ini"
edited=$(cat "$folder/settings.ini")
status=$(play "$folder/log.txt" HOME="$home" XDG_DATA_HOME="$work/xdg")
[ "$status" = exit:0 ] || fail "second start ended as $status: $(cat "$work/stderr.txt")"
[ "$(cat "$folder/settings.ini")" = "$edited" ] || fail "the edited settings.ini was overwritten"
[ "$(head -n 1 "$folder/log.txt")" = "$EDITED_MODE" ] || fail "the edited settings were not read"

# A second player, default folder, started through a link to the launcher and without a display:
# the folder is still prepared, and the game's own exit status comes back.
mkdir -p "$work/bin" "$work/direct"
ln -s "$launcher" "$work/bin/herder"
game_status=0
(cd "$work/direct" && env -u DISPLAY "$root$PREFIX/lib/games/herder/herder") 2>/dev/null ||
    game_status=$?
[ "$game_status" -ne 0 ] || fail "the game without a display exited 0"
launcher_status=0
env -u DISPLAY -u XDG_DATA_HOME HOME="$work/home2" "$work/bin/herder" 2>"$work/stderr.txt" ||
    launcher_status=$?
[ "$launcher_status" -eq "$game_status" ] ||
    fail "the launcher exited $launcher_status where the game exits $game_status"
[ -f "$work/home2/.local/share/herder/settings.ini" ] || fail "no default folder for player two"

# A folder that cannot be made: one line on stderr and a non-zero exit.
touch "$work/not-a-folder"
launcher_status=0
env -u DISPLAY HOME="$home" XDG_DATA_HOME="$work/not-a-folder" "$launcher" \
    2>"$work/stderr.txt" || launcher_status=$?
[ "$launcher_status" -ne 0 ] || fail "the launcher exited 0 without a folder"
if [ "$(wc -l <"$work/stderr.txt")" -ne 1 ] || ! grep -q "cannot create" "$work/stderr.txt"; then
    fail "expected one line about the folder, got: $(cat "$work/stderr.txt")"
fi

[ "$(snapshot)" = "$before" ] || fail "the installed tree changed: $(diff <(echo "$before") <(snapshot))"
echo "PASS: installed into $root, played twice from $folder"
