#!/usr/bin/env bash
# Builds the libFuzzer targets (TGA reader, settings reader) with clang and runs each for a
# bounded time, starting from the seed corpus in fuzz/corpus. Exits non-zero when a target
# crashes, leaks or hangs (the input is saved as <build-dir>/<target>-crash-*), and with 77
# (skipped) when clang++ cannot build fuzzers here.
# Usage: run-fuzzers.sh <build-dir> [seconds-per-target]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
out=${1:?usage: run-fuzzers.sh <build-dir> [seconds-per-target]}
seconds=${2:-20}
skip=77

if ! command -v clang++ > /dev/null; then
    echo "run-fuzzers: clang++ is not installed, skipping"
    exit $skip
fi
mkdir -p "$out"
flags=(-std=c++17 -g -O1 -fsanitize=fuzzer,address,undefined -fno-sanitize-recover=undefined
       -I"$root/include" -I"$root/src/render")
echo 'extern "C" int LLVMFuzzerTestOneInput(const unsigned char*, unsigned long) { return 0; }' \
    > "$out/probe.cpp"
if ! clang++ "${flags[@]}" "$out/probe.cpp" -o "$out/probe" 2> "$out/probe.log"; then
    echo "run-fuzzers: clang++ cannot build libFuzzer targets (see $out/probe.log), skipping"
    exit $skip
fi

clang++ "${flags[@]}" "$root/fuzz/tga_fuzzer.cpp" "$root"/src/render/TGAImage*.cpp \
    -o "$out/tga_fuzzer"
clang++ "${flags[@]}" "$root/fuzz/settings_fuzzer.cpp" "$root/src/core/SettingsFile.cpp" \
    -o "$out/settings_fuzzer"

for target in tga settings; do
    # New inputs go to the build folder; the seeds in the source tree stay as they are.
    corpus="$out/corpus-$target"
    mkdir -p "$corpus"
    echo "run-fuzzers: $target for $seconds s"
    "$out/${target}_fuzzer" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
        -error_exitcode=1 -timeout_exitcode=1 -artifact_prefix="$out/$target-" \
        -print_final_stats=1 "$corpus" "$root/fuzz/corpus/$target"
done
echo "run-fuzzers: no crash"
