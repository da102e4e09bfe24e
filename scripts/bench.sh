#!/usr/bin/env bash
# Builds and runs the rendering benchmark under a private Xvfb at 1024x768 in the build's data
# folder; prints Markdown tables for the README.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh" >/dev/null
"$root/scripts/build.sh" build
cd "$root/build/data"
xvfb-run -a -s "-screen 0 1024x768x24" ../herder-bench
