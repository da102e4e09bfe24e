#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test (unit, GL under Xvfb, end to end).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
"$root/scripts/build.sh" build -DHERDER_TESTS=ON
cd "$root/build"
ctest -j"$(nproc)" --output-on-failure --timeout 300
