#!/usr/bin/env bash
# Starts or stops the Xvfb server that the GL tests draw on (Mesa's llvmpipe renders there).
# Usage: xvfb.sh start|stop <display-number>
set -u
action=$1
number=$2
pidfile="/tmp/herder-xvfb-$number.pid"

case "$action" in
start)
    if [ -f "$pidfile" ] && kill -0 "$(cat "$pidfile")" 2>/dev/null; then
        exit 0
    fi
    rm -f "/tmp/.X$number-lock" "/tmp/.X11-unix/X$number"
    Xvfb ":$number" -screen 0 1024x768x24 -nolisten tcp -noreset >/dev/null 2>&1 &
    echo $! >"$pidfile"
    for _ in $(seq 100); do
        [ -S "/tmp/.X11-unix/X$number" ] && exit 0
        sleep 0.1
    done
    echo "Xvfb :$number did not start" >&2
    exit 1
    ;;
stop)
    if [ -f "$pidfile" ]; then
        kill "$(cat "$pidfile")" 2>/dev/null
        rm -f "$pidfile"
    fi
    exit 0
    ;;
esac
echo "usage: xvfb.sh start|stop <display-number>" >&2
exit 2
