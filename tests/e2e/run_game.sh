#!/usr/bin/env bash
# End-to-end run of the real game under its own Xvfb: start it in a fresh folder, drive it with
# real X key events, take a screenshot, end it with "p" and check the exit status and log.txt.
# Usage: run_game.sh <scenario> <herder> <data-dir> <work-dir>
#   settings           the generated settings.ini; F6 three times, then p
#   no_settings        no settings.ini at all: the game still runs through the window fallback
#   keys_out_of_order  mouse keys swapped: the game runs and reads them as missing
#   no_display         no X display: one line on stderr and a non-zero exit
set -u
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
no_settings) ;;
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
"$1" >stdout.txt 2>stderr.txt &
pid=$!
for _ in $(seq 150); do
    xdotool search --name Herder >/dev/null 2>&1 && break
    sleep 0.1
done
sleep 2
if [ "$2" = settings ]; then
    for _ in 1 2 3; do
        xdotool key F6
        sleep 0.3
    done
fi
sleep 0.5
xwd -root -silent >screen.xwd
if ! kill -0 $pid 2>/dev/null; then
    wait $pid
    echo "died:$?" >status.txt
    exit 0
fi
xdotool key p
for _ in $(seq 100); do
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
settings) expected=$(sed -n 's/^G_GAMEMODESTRING=//p' "$data/settings.ini") ;;
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
echo "PASS ($scenario): first line '$first', HUD pixels $counters, screenshot $work/screen.png"
