#!/usr/bin/env bash
# Installs what is missing, builds, and starts the game in the build's data folder.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
"$root/scripts/build.sh" build
cd "$root/build/data"
exec ../herder
