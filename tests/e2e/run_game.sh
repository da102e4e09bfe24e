#!/usr/bin/env bash
# End-to-end run of the real game under its own Xvfb: start it in a fresh folder, drive it with
# real X key events, take a screenshot, end it with "p" and check the exit status and log.txt.
# Usage: run_game.sh <scenario> <herder> <data-dir> <work-dir>
#   settings           the generated settings.ini; F6 three times, then p
#   no_settings        no settings.ini at all: the game still runs through the window fallback
#   keys_out_of_order  mouse keys swapped: the game runs and reads them as missing
#   no_display         no X display: one line on stderr and a non-zero exit
#   walk               walks and turns, then F3 (wireframe) and F9 (physics lines) change the view
#   play               "m" logs the herder's position; herding, path search and firing run on
#   bad_files          a truncated model, a texture that cannot be read (a folder in its place)
#                      and a model full of noise: each is logged and the game runs without it
#   hostile_files      the flag and the rocket replaced by files that crash the model reader;
#                      both are logged, and herding and firing play on without them
#   valgrind           the walk-and-fire run under valgrind: no invalid read or write anywhere
#   no_data            settings.ini alone, no models or textures: every model is logged, and the
#                      game runs with an empty level (the HUD still shows)
#   sound_null         OpenAL Soft's null device: one sound line, and herding and firing play on
#   sound_none         no audio device at all: one sound line saying so, and the game plays on
set -u
here=$(cd "$(dirname "$0")" && pwd)
scenario=$1
herder=$2
data=$3
work=$4/$scenario

fail() {
    echo "FAIL ($scenario): $*" >&2
    [ -f "$work/log.txt" ] && sed 's/^/  log: /' "$work/log.txt" >&2
    exit 1
}

rm -rf "$work"
mkdir -p "$work"
cd "$work" || exit 1

case "$scenario" in
settings) cp "$data/settings.ini" . ;;
walk | play | valgrind)
    cp "$data/settings.ini" .
    ln -s "$data"/*.fbx "$data"/*.tga .
    ;;
no_settings) ;;
sound_null | sound_none)
    # OpenAL Soft's null backend (a device that plays into nothing), and a backend list with no
    # real backend (no device at all): either way one line about the sound, and the game plays.
    cp "$data/settings.ini" .
    ln -s "$data"/*.fbx "$data"/*.tga "$data"/*.wav .
    if [ "$scenario" = sound_null ]; then
        export ALSOFT_DRIVERS=null
    else
        export ALSOFT_DRIVERS=no-such-backend
    fi
    ;;
bad_files)
    cp "$data/settings.ini" .
    ln -s "$data"/*.fbx "$data"/*.tga .
    rm AniSheepRun2.fbx Brannic.tga Oeltank.fbx
    head -c 20000 "$data/AniSheepRun2.fbx" >AniSheepRun2.fbx
    mkdir Brannic.tga
    # Seeded garbage (our checks pass it on to the reader), the same in every run, so that a
    # failure can be reproduced.
    LC_ALL=C awk 'BEGIN { srand(1); for (i = 0; i < 50000; i++) printf "%c", int(rand() * 256) }' >Oeltank.fbx
    ;;
hostile_files)
    cp "$data/settings.ini" .
    ln -s "$data"/*.fbx "$data"/*.tga .
    rm Flag.fbx Rocket.fbx
    cp "$here/../../fuzz/corpus/model/bad-base64-texture.fbx" Flag.fbx
    cp "$here/../../fuzz/corpus/model/deep-node-chain.fbx" Rocket.fbx
    ;;
no_data) cp "$data/settings.ini" . ;;
keys_out_of_order)
    printf 'G_GAMEMODESTRING=640x480:24@60\nI_MOUSE_SENSYAW=3\nI_MOUSE_SENSPITCH=2\nGAME_SPEED=1\n' \
        >settings.ini
    ;;
no_display)
    cp "$data/settings.ini" .
    env -u DISPLAY "$herder" 2>stderr.txt
    status=$?
    [ "$status" -ne 0 ] || fail "exit status 0 without a display"
    [ "$(wc -l <stderr.txt)" -eq 1 ] || fail "expected one stderr line, got: $(cat stderr.txt)"
    grep -q "X display" stderr.txt || fail "stderr does not mention the display: $(cat stderr.txt)"
    echo "PASS ($scenario): $(cat stderr.txt)"
    exit 0
    ;;
*) fail "unknown scenario" ;;
esac

# The driver runs inside the private X server; it leaves its findings in files.
cat >drive.sh <<'DRIVE'
#!/usr/bin/env bash
set -u
$WRAP "$1" >stdout.txt 2>stderr.txt &
pid=$!
for _ in $(seq 1500); do
    xdotool search --name Herder >/dev/null 2>&1 && break
    sleep 0.1
done
# The models are loaded when the level logs its set-up a second time.
for _ in $(seq 1000); do
    [ "$(grep -c 'initialising scene' log.txt 2>/dev/null)" -ge 2 ] && break
    sleep 0.2
done
sleep 2
if [ "$2" = settings ]; then
    for _ in 1 2 3; do
        xdotool key F6
        sleep 0.3
    done
fi
if [ "$2" = walk ]; then
    xwd -root -silent >start.xwd
    xdotool keydown w
    sleep 1
    xdotool keyup w
    xdotool keydown e
    sleep 1
    xdotool keyup e
    sleep 0.5
    xwd -root -silent >walked.xwd
    xdotool key F3
    sleep 0.7
    xwd -root -silent >wireframe.xwd
    xdotool key F3 F9
    sleep 0.7
    xwd -root -silent >debug.xwd
    xdotool key F9
fi
if [ "$2" = valgrind ]; then
    sleep 15
    xdotool keydown w
    sleep 3
    xdotool keyup w
    xdotool mousemove 512 384 click 1
    sleep 10
fi
if [ "$2" = play ] || [ "$2" = hostile_files ] || [ "${2#sound_}" != "$2" ]; then
    xdotool key m
    xdotool mousemove 512 384 click 3
    sleep 1
    xdotool key n
    xdotool click 3
    xdotool mousemove 512 700
    sleep 0.3
    xdotool click 1
    sleep 1
fi
sleep 0.5
xwd -root -silent >screen.xwd
if ! kill -0 $pid 2>/dev/null; then
    wait $pid
    echo "died:$?" >status.txt
    exit 0
fi
xdotool key p
for _ in $(seq 1200); do
    kill -0 $pid 2>/dev/null || break
    sleep 0.1
done
if kill -0 $pid 2>/dev/null; then
    kill -9 $pid
    echo "hung" >status.txt
    exit 0
fi
wait $pid
echo "exit:$?" >status.txt
DRIVE
chmod +x drive.sh
# Only the valgrind run wraps the game; memory errors anywhere make it exit with 1.
export WRAP=""
if [ "$scenario" = valgrind ]; then
    WRAP="valgrind --error-exitcode=1 --leak-check=no --suppressions=$here/valgrind.supp"
fi
# A private server on a display number it picks itself, so parallel runs never collide.
Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp -noreset 3>display.txt 2>xvfb.txt &
xvfb=$!
for _ in $(seq 100); do
    [ -s display.txt ] && break
    sleep 0.1
done
[ -s display.txt ] || fail "Xvfb did not start: $(cat xvfb.txt)"
DISPLAY=":$(head -n 1 display.txt)" ./drive.sh "$herder" "$scenario"
kill $xvfb
wait $xvfb 2>/dev/null

[ "$(cat status.txt)" = "exit:0" ] || fail "game ended as $(cat status.txt), stderr: $(cat stderr.txt)"
first=$(head -n 1 log.txt)
case "$scenario" in
settings | walk | play | bad_files | hostile_files | no_data | valgrind | sound_*) expected=$(sed -n 's/^G_GAMEMODESTRING=//p' "$data/settings.ini") ;;
no_settings) expected=NULL ;;
keys_out_of_order) expected="640x480:24@60" ;;
esac
[ "$first" = "$expected" ] || fail "first log line '$first', expected '$expected'"
grep -q "LAST OPENGL ERROR" log.txt && fail "GL trace lines in the log"

# The HUD: white text pixels in the bottom-left counters and, after F6, the message line.
convert screen.xwd screen.png || fail "cannot convert the screenshot"
lit() { convert screen.png -crop "$1" -threshold 50% -format '%[fx:mean*w*h]' info:; }
counters=$(lit 260x30+15+738)
[ "${counters%.*}" -gt 100 ] || fail "no HUD counter pixels bottom-left ($counters)"
if [ "$scenario" = settings ]; then
    message=$(lit 200x30+195+548)
    [ "${message%.*}" -gt 50 ] || fail "no HUD message pixels ($message)"
fi
if [ "$scenario" = walk ]; then
    for shot in start walked wireframe debug; do
        convert "$shot.xwd" "$shot.png" || fail "cannot convert $shot"
    done
    # Pixels that differ clearly between two screenshots.
    differ() { compare -metric AE -fuzz 10% "$1.png" "$2.png" null: 2>&1 | cut -d' ' -f1; }
    [ "$(differ start walked)" -gt 20000 ] || fail "walking and turning did not change the view"
    [ "$(differ walked wireframe)" -gt 20000 ] || fail "F3 did not switch to wireframe"
    [ "$(differ walked debug)" -gt 2000 ] || fail "F9 drew no physics lines"
    # Sky on top (red), ground below (green), the herder seen from behind in the middle of the
    # bottom half: his blue sleeves either side of his brown back.
    mean() { convert start.png -crop "$1" -resize 1x1! -format "%[fx:int(255*r)] %[fx:int(255*g)] %[fx:int(255*b)]" info:; }
    read -r r g b <<<"$(mean 1024x100+0+0)"
    [ "$r" -gt $((g + 40)) ] || fail "no red sky at the top ($r $g $b)"
    read -r r g b <<<"$(mean 300x60+0+650)"
    [ "$g" -gt "$b" ] || fail "no green ground at the bottom left ($r $g $b)"
    for sleeve in 20x100+442+600 20x100+562+600; do
        read -r r g b <<<"$(mean $sleeve)"
        [ "$b" -gt $((r + 30)) ] || fail "no herder's blue sleeve at $sleeve ($r $g $b)"
    done
    read -r r g b <<<"$(mean 60x100+482+600)"
    [ "$r" -gt $((b + 30)) ] || fail "no herder's brown back in the middle ($r $g $b)"
fi
if [ "$scenario" = play ]; then
    grep -q '^vector/' log.txt || fail "no vector/ line after m"
fi
if [ "$scenario" = bad_files ]; then
    for name in AniSheepRun2.fbx Oeltank.fbx; do
        grep -q "Model '$name' could not be imported" log.txt || fail "no log line for $name"
    done
    grep -q "Unable to load the Texture 'Brannic.tga'" log.txt || fail "no log line for Brannic.tga"
fi
if [ "$scenario" = hostile_files ]; then
    for name in Flag.fbx Rocket.fbx; do
        grep -q "Model '$name' could not be imported" log.txt || fail "no log line for $name"
    done
fi
if [ "${scenario#sound_}" != "$scenario" ]; then
    case "$scenario" in
    sound_null) heard='^sound: playing on ".*" at volume [0-9]*$' ;;
    sound_none) heard='^sound: no audio device could be opened, playing silently$' ;;
    esac
    [ "$(grep -c '^sound:' log.txt)" -eq 1 ] || fail "expected one sound line, got: $(grep '^sound:' log.txt)"
    grep -q "$heard" log.txt || fail "no line '$heard'"
    grep -q '^vector/' log.txt || fail "the game did not play (no vector/ line after m)"
fi
if [ "$scenario" = no_data ]; then
    # A texture is only read for a model that loaded, so the models' lines are all there is.
    [ "$(grep -c "could not be imported" log.txt)" -ge 10 ] || fail "missing models not all logged"
fi
echo "PASS ($scenario): first line '$first', HUD pixels $counters, screenshot $work/screen.png"
