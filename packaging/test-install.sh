#!/usr/bin/env bash
# Installs the build into a temporary root (DESTDIR) and plays from the installed launcher under
# one private Xvfb, with HOME and XDG_DATA_HOME in a temporary folder: the first start fills the
# player's folder, a second keeps the player's edited settings and plays in an 800x600 window that
# keeps drawing when resized, while a start beside it refuses; a second player gets a folder of
# their own, a read-only home plays from a private folder, and the installed tree stays as
# installed. The options answer without touching anything, and the menu entry, the AppStream
# metadata and the manual page must pass their validators.
# Usage: test-install.sh <build-dir> <work-dir>
set -euo pipefail

readonly PREFIX=/usr
readonly EDITED_MODE=800x600:24@60
readonly WAIT_TICKS=1200 # tenths of a second
readonly WINDOW=800x600
readonly RESIZED=960x720
# Seconds a second start may take to refuse; one that plays instead is stopped then.
readonly SECOND_START_LIMIT=20
# A corner of the resized window outside the first size: the sky must be drawn there.
readonly NEW_CORNER=140x100+810+5

source=$(cd "$(dirname "$0")/.." && pwd)
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

# One private X server for every game of the test.
start_xvfb() {
    Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp -noreset 3>"$work/display.txt" \
        2>"$work/xvfb.txt" &
    xvfb=$!
    trap 'kill "$xvfb" 2>/dev/null || true' EXIT
    for _ in $(seq 100); do
        [ -s "$work/display.txt" ] && break
        sleep 0.1
    done
    [ -s "$work/display.txt" ] || fail "Xvfb did not start: $(cat "$work/xvfb.txt")"
    display=:$(head -n 1 "$work/display.txt")
}

# Starts the launcher with the given environment and arguments (after --) and waits until the
# level is loaded: it logs its set-up a second time (the last game's log is removed first, so
# that its lines are not taken for the new game's). Sets $game.
start_game() {
    local log=$1 loads
    shift
    rm -f "$log"
    local -a settings=()
    while [ "$1" != -- ]; do
        settings+=("$1")
        shift
    done
    shift
    env "${settings[@]}" DISPLAY="$display" "$launcher" "$@" >"$work/stdout.txt" \
        2>"$work/stderr.txt" &
    game=$!
    for _ in $(seq "$WAIT_TICKS"); do
        loads=$(grep -c 'initialising scene' "$log" 2>/dev/null || true)
        [ "${loads:-0}" -ge 2 ] && break
        kill -0 "$game" 2>/dev/null || break
        sleep 0.1
    done
}

# Quits the running game with p; sets $status to how the launcher ended.
quit_game() {
    status=hung
    DISPLAY=$display xdotool search --sync --name Herder >/dev/null 2>&1 || true
    DISPLAY=$display xdotool key p 2>/dev/null || true
    for _ in $(seq "$WAIT_TICKS"); do
        kill -0 "$game" 2>/dev/null || break
        sleep 0.1
    done
    if kill -0 "$game" 2>/dev/null; then
        kill -9 "$game"
    else
        wait "$game" && status=exit:0 || status=exit:$?
    fi
}

# Plays one game from start to quit; sets $status to how the launcher ended.
play() {
    start_game "$@"
    quit_game
}

# The game's window: its id, and its size as WIDTHxHEIGHT.
window_id() { DISPLAY=$display xdotool search --name Herder | head -n 1; }
window_size() {
    DISPLAY=$display xwininfo -id "$1" | awk '/Width:/ { w = $2 } /Height:/ { h = $2 }
        END { print w "x" h }'
}

# Mean red, green and blue (0-255) of a region of the window.
window_colour() {
    DISPLAY=$display xwd -id "$1" -silent | convert xwd:- -crop "$2" -resize '1x1!' \
        -format '%[fx:int(255*r)] %[fx:int(255*g)] %[fx:int(255*b)]' info:
}

# The options answer on their own: nothing is made, no display is needed.
check_options() {
    local version status
    version=$(sed -n 's/^project(Herder VERSION \([0-9.]*\).*/\1/p' "$source/CMakeLists.txt")
    [ "$("$launcher" --version)" = "herder $version" ] || fail "--version: $("$launcher" --version)"
    "$launcher" --help >"$work/help.txt" || fail "--help exited non-zero"
    for topic in Usage: --window --version Controls: Files: settings.ini log.txt; do
        grep -q -- "$topic" "$work/help.txt" || fail "--help does not mention $topic"
    done
    for wrong in --fullscreen --window=800 --window=100x100 --window=800x600x24 window; do
        status=0
        env HOME="$work/options-home" "$launcher" "$wrong" >/dev/null 2>"$work/stderr.txt" ||
            status=$?
        [ "$status" -eq 2 ] || fail "$wrong exited $status, not 2"
        [ "$(wc -l <"$work/stderr.txt")" -eq 1 ] || fail "$wrong: $(cat "$work/stderr.txt")"
    done
    [ ! -e "$work/options-home" ] || fail "an option made the player's folder"
}

DESTDIR=$root cmake --install "$build" --prefix "$PREFIX" >"$work/install.txt" 2>&1 ||
    fail "cmake --install: $(cat "$work/install.txt")"
check_installed
validate
check_options
before=$(snapshot)
home=$work/home
folder=$work/xdg/herder
mkdir -p "$home"
start_xvfb

# First start: the folder is made and filled.
play "$folder/log.txt" HOME="$home" XDG_DATA_HOME="$work/xdg" --
[ "$status" = exit:0 ] || fail "first start ended as $status: $(cat "$work/stderr.txt")"
cmp -s "$folder/settings.ini" "$data/settings.ini" || fail "settings.ini not copied"
[ -f "$folder/log.txt" ] || fail "no log.txt in the player's folder"
default_mode=$(sed -n 's/^G_GAMEMODESTRING=//p' "$data/settings.ini")
[ "$(head -n 1 "$folder/log.txt")" = "$default_mode" ] || fail "first start did not log its mode"
[ "$(readlink "$folder/Sky.fbx")" = "$data/Sky.fbx" ] || fail "Sky.fbx is not linked to the data"
if grep -E "could not be imported|Unable to load" "$folder/log.txt"; then
    fail "the game did not find its models through the links"
fi

# Second start, in a window: the player's edited settings stay and are the ones read; the window
# has the asked size and, made larger, is drawn to its new corners; a start beside it refuses in
# one line and leaves the running game's log whole.
sed -i "s/^G_GAMEMODESTRING=.*/G_GAMEMODESTRING=$EDITED_MODE/" "$folder/settings.ini"
edited=$(cat "$folder/settings.ini")
start_game "$folder/log.txt" HOME="$home" XDG_DATA_HOME="$work/xdg" -- --window=$WINDOW
first=$game
id=$(window_id)
[ -n "$id" ] || fail "no window: $(cat "$work/stderr.txt")"
[ "$(window_size "$id")" = $WINDOW ] || fail "the window is $(window_size "$id"), not $WINDOW"
DISPLAY=$display xdotool windowsize "$id" ${RESIZED%x*} ${RESIZED#*x}
[ "$(window_size "$id")" = $RESIZED ] || fail "the window was not resized: $(window_size "$id")"
# A loaded machine may take a while to draw the next frame.
for _ in $(seq 20); do
    sleep 0.5
    read -r r g b <<<"$(window_colour "$id" $NEW_CORNER)"
    [ "$r" -gt $((g + 40)) ] && break
done
[ "$r" -gt $((g + 40)) ] || fail "no sky drawn in the resized window's new corner ($r $g $b)"
second_status=0
timeout "$SECOND_START_LIMIT" env HOME="$home" XDG_DATA_HOME="$work/xdg" DISPLAY="$display" \
    "$launcher" >/dev/null 2>"$work/second.txt" || second_status=$?
[ "$second_status" -ne 124 ] || fail "a second start played beside the first"
[ "$second_status" -eq 1 ] || fail "a second start beside the first exited $second_status"
if [ "$(wc -l <"$work/second.txt")" -ne 1 ] || ! grep -q "already running" "$work/second.txt"; then
    fail "expected one line about the running game, got: $(cat "$work/second.txt")"
fi
kill -0 "$first" 2>/dev/null || fail "the first game ended when the second started"
game=$first
quit_game
[ "$status" = exit:0 ] || fail "second start ended as $status: $(cat "$work/stderr.txt")"
[ "$(cat "$folder/settings.ini")" = "$edited" ] || fail "the edited settings.ini was overwritten"
[ "$(head -n 1 "$folder/log.txt")" = "$EDITED_MODE" ] || fail "the edited settings were not read"
[ "$(sed -n 2p "$folder/log.txt")" = "playing in a $WINDOW window" ] ||
    fail "the log does not say the window's size: $(sed -n 2p "$folder/log.txt")"
[ "$(grep -c 'initialising scene' "$folder/log.txt")" -eq 2 ] ||
    fail "the running game's log is not whole: $(cat "$folder/log.txt")"

# A home that cannot be written: the game plays from a private folder under XDG_RUNTIME_DIR and
# the launcher says so in one line. Permissions do not stop root, so for root a file stands where
# the folder would be made.
readonly_home=$work/readonly-home
runtime=$work/runtime
mkdir -p "$readonly_home" "$runtime"
[ "$(id -u)" -ne 0 ] || touch "$readonly_home/.local"
chmod 555 "$readonly_home"
chmod 700 "$runtime"
play "$runtime/herder/log.txt" -u XDG_DATA_HOME HOME="$readonly_home" XDG_RUNTIME_DIR="$runtime" --
[ "$status" = exit:0 ] || fail "the read-only home's game ended as $status: $(cat "$work/stderr.txt")"
if [ "$(wc -l <"$work/stderr.txt")" -ne 1 ] ||
    ! grep -q "playing from $runtime/herder instead" "$work/stderr.txt"; then
    fail "expected one line naming the private folder, got: $(cat "$work/stderr.txt")"
fi
[ "$(stat -c %a "$runtime/herder")" = 700 ] || fail "the private folder is open to others"
[ "$(head -n 1 "$runtime/herder/log.txt")" = "$default_mode" ] || fail "no game in the private folder"
kill "$xvfb"
wait "$xvfb" 2>/dev/null || true

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

# Without XDG_RUNTIME_DIR the private folder is made in the temporary folder; one there that is
# open to others (someone else may have made it) is refused in one line.
touch "$work/not-a-folder"
tmp=$work/tmp
mkdir -p "$tmp"
private=$tmp/herder-$(id -u)
env -u DISPLAY -u XDG_RUNTIME_DIR HOME="$home" XDG_DATA_HOME="$work/not-a-folder" TMPDIR="$tmp" \
    "$launcher" 2>/dev/null || true
[ -f "$private/settings.ini" ] || fail "no private folder in TMPDIR"
[ "$(stat -c %a "$private")" = 700 ] || fail "the private folder in TMPDIR is open to others"
chmod 755 "$private"
launcher_status=0
env -u DISPLAY -u XDG_RUNTIME_DIR HOME="$home" XDG_DATA_HOME="$work/not-a-folder" TMPDIR="$tmp" \
    "$launcher" 2>"$work/stderr.txt" || launcher_status=$?
[ "$launcher_status" -eq 1 ] || fail "the launcher exited $launcher_status without a folder"
if [ "$(wc -l <"$work/stderr.txt")" -ne 1 ] || ! grep -q "cannot create" "$work/stderr.txt"; then
    fail "expected one line about the folder, got: $(cat "$work/stderr.txt")"
fi

[ "$(snapshot)" = "$before" ] || fail "the installed tree changed: $(diff <(echo "$before") <(snapshot))"
echo "PASS: installed into $root; played in full screen, in a resized window and from a read-only home"
