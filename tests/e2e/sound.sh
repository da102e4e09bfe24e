#!/usr/bin/env bash
# Plays 40 s of the real game under a private Xvfb with OpenAL Soft's "wave" backend, which writes
# what the game would play to a file instead of a device, then checks the stream: quiet (the wind
# alone) before the first event, energy after the herd whistle, the rocket's launch and burst and
# the first wolf's arrival 30 s into the level, that wolf's howl louder on the left, where it
# appears, and the shot fired at it.
# Usage: sound.sh <herder> <data-dir> <work-root>
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
herder=$1
data=$2
work="$3/sound"
fail() {
    echo "FAIL (sound): $*" >&2
    [ -f "$work/log.txt" ] && sed 's/^/  log: /' "$work/log.txt" >&2
    exit 1
}
rm -rf "$work"
mkdir -p "$work"
cd "$work" || exit 1
cp "$data/settings.ini" .
ln -s "$data"/*.fbx "$data"/*.tga "$data"/*.wav .
cat >alsoft.conf <<CONF
[general]
channels = stereo
frequency = 22050
[wave]
file = $work/stream.wav
CONF

cat >drive.sh <<'DRIVE'
#!/usr/bin/env bash
set -u
now() { date +%s.%N; }
since() { awk -v a="$(now)" -v b="$opened" 'BEGIN { printf "%.3f", a - b }'; }
"$1" >stdout.txt 2>stderr.txt &
pid=$!
# The stream starts when the game opens the device: the events' times are counted from there.
for _ in $(seq 600); do
    [ -s stream.wav ] && break
    sleep 0.05
done
opened=$(now)
# The level's clock starts once its models are in: the second "initialising scene".
for _ in $(seq 2000); do
    [ "$(grep -c 'initialising scene' log.txt 2>/dev/null)" -ge 2 ] && break
    sleep 0.05
done
level=$(since)
sleep 3
xdotool mousemove 512 384
sleep 0.5
echo "level $level" >times.txt
echo "quiet_end $(since)" >>times.txt
xdotool click 3
echo "whistle $(since)" >>times.txt
sleep 2
# Look down: the rocket bursts on the meadow a few units ahead.
xdotool mousemove_relative -- 0 150
sleep 0.3
xdotool click 1
echo "rocket $(since)" >>times.txt
# The first wolf comes at 30 s of game time, towards -x (the herder's left) and -z: once it has
# howled, turn half left towards it (75 pixels at the shipped mouse factor) and fire at it.
until awk -v t="$(since)" -v l="$level" 'BEGIN { exit !(t > l + 32.5) }'; do
    sleep 0.1
done
xdotool mousemove_relative -- -75 -60
sleep 0.3
xdotool click 1
echo "shot $(since)" >>times.txt
until awk -v t="$(since)" -v l="$level" 'BEGIN { exit !(t > l + 36) }'; do
    sleep 0.2
done
xdotool key p
for _ in $(seq 100); do
    kill -0 $pid 2>/dev/null || break
    sleep 0.1
done
kill -9 $pid 2>/dev/null
echo "done" >>times.txt
DRIVE
chmod +x drive.sh

Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp -noreset 3>display.txt 2>xvfb.txt &
xvfb=$!
for _ in $(seq 100); do
    [ -s display.txt ] && break
    sleep 0.1
done
[ -s display.txt ] || fail "Xvfb did not start: $(cat xvfb.txt)"
DISPLAY=":$(head -n 1 display.txt)" ALSOFT_DRIVERS=wave ALSOFT_CONF="$work/alsoft.conf" \
    ./drive.sh "$herder"
kill $xvfb
wait $xvfb 2>/dev/null

grep -q "^sound: playing on" log.txt || fail "the game did not open the wave device"
[ -s stream.wav ] || fail "no stream was written"
wolf=$(grep -c "wolf0" log.txt)
python3 "$here/check_stream.py" stream.wav times.txt || fail "the stream is not what was played"
echo "PASS (sound): $(tr '\n' ' ' <times.txt)wolf lines $wolf"
