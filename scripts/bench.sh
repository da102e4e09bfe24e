#!/usr/bin/env bash
# Builds and runs the rendering benchmark under a private Xvfb at 1024x768 in the build's data
# folder, once with llvmpipe rasterising on two threads and once on one (as on a busy or smaller
# machine), then normal play at 1920x1080 the same two ways; prints Markdown tables for the README.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh" >/dev/null
"$root/scripts/build.sh" build
cd "$root/build/data"
for threads in 2 1; do
    echo "## LP_NUM_THREADS=$threads"
    LP_NUM_THREADS=$threads xvfb-run -a -s "-screen 0 1024x768x24 -noreset" ../herder-bench
    echo
done
for threads in 2 1; do
    echo "## 1920x1080, LP_NUM_THREADS=$threads"
    LP_NUM_THREADS=$threads xvfb-run -a -s "-screen 0 1920x1080x24 -noreset" ../herder-bench --full-hd
    echo
done
