#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test (unit, GL under Xvfb, end to end).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
"$root/scripts/build.sh" build -DHERDER_TESTS=ON
cd "$root/build"
# The half-hour soak runs once, in the sanitizer build below.
ctest -j"$(nproc)" --output-on-failure --timeout 300 -E Soak
# The same tests built with AddressSanitizer and UndefinedBehaviorSanitizer, in their own folder;
# the fuzzers already run under both.
"$root/scripts/build.sh" build-asan -DHERDER_TESTS=ON -DHERDER_SANITIZE=ON
cd "$root/build-asan"
ctest -j"$(nproc)" --output-on-failure --timeout 900 -E fuzz
