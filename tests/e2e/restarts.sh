#!/usr/bin/env bash
# Starts the game again and again under an X server that resets whenever its last client leaves
# (plain Xvfb without -noreset, as xvfb-run starts it by default): every start must come up to
# its level set-up, however the game's own connections to the server follow each other.
# Usage: restarts.sh <herder> <data-dir> <work-dir> [starts]
set -u
herder=$1
data=$2
work=$3/restarts
starts=${4:-20}
# Up to 15 s for one start; a pause after each end, so that the next start does not meet the
# server's reset after the previous game (that is the server's business, not the game's).
polls=300
poll=0.05
settle=0.3

rm -rf "$work"
mkdir -p "$work"
cd "$work" || exit 1
# Settings alone: no level content to load, the start is the part under test.
cp "$data/settings.ini" .
Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp 3>display.txt 2>xvfb.txt &
xvfb=$!
for _ in $(seq 100); do
    [ -s display.txt ] && break
    sleep 0.1
done
[ -s display.txt ] || { echo "FAIL: Xvfb did not start: $(cat xvfb.txt)" >&2; exit 1; }
export DISPLAY=":$(head -n 1 display.txt)"

up=0
for i in $(seq "$starts"); do
    rm -f log.txt
    "$herder" >stdout.txt 2>stderr.txt &
    pid=$!
    for _ in $(seq $polls); do
        grep -q "initialising scene" log.txt 2>/dev/null && break
        kill -0 $pid 2>/dev/null || break
        sleep $poll
    done
    if grep -q "initialising scene" log.txt 2>/dev/null && kill -0 $pid 2>/dev/null; then
        up=$((up + 1))
        kill $pid
    else
        echo "start $i did not come up: $(cat stderr.txt)" >&2
        kill -9 $pid 2>/dev/null
    fi
    wait $pid 2>/dev/null
    sleep $settle
done
kill $xvfb
wait $xvfb 2>/dev/null
echo "$up of $starts starts came up"
[ "$up" -eq "$starts" ]
