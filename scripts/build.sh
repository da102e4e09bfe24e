#!/usr/bin/env bash
# Configures and builds into the given folder (default: build) with any extra CMake arguments.
# Usage: build.sh [build-dir] [cmake-args...]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
dir=${1:-build}
shift || true
cmake -S "$root" -B "$root/$dir" "$@" >/dev/null
cmake --build "$root/$dir" -j"$(nproc)"
