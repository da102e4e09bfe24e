#!/usr/bin/env bash
# Builds the libFuzzer targets (TGA reader, settings reader, model loading from bytes, the reader
# of the model reader's answer, the WAV reader) with clang through CMake and runs each for a bounded time,
# starting from the seed corpus in fuzz/corpus. Exits non-zero when a target
# crashes, leaks or hangs (the input is saved as <build-dir>/<target>-crash-*), and with 77
# (skipped) when clang++ cannot build fuzzers here.
# Usage: run-fuzzers.sh <build-dir> [seconds-per-target]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
out=${1:?usage: run-fuzzers.sh <build-dir> [seconds-per-target]}
mkdir -p "$out"
out=$(cd "$out" && pwd)
seconds=${2:-20}
skip=77

if ! command -v clang++ > /dev/null; then
    echo "run-fuzzers: clang++ is not installed, skipping"
    exit $skip
fi
flags=(-std=c++17 -g -O1 -fsanitize=fuzzer,address,undefined -fno-sanitize-recover=undefined)
echo 'extern "C" int LLVMFuzzerTestOneInput(const unsigned char*, unsigned long) { return 0; }' \
    > "$out/probe.cpp"
if ! clang++ "${flags[@]}" "$out/probe.cpp" -o "$out/probe" 2> "$out/probe.log"; then
    echo "run-fuzzers: clang++ cannot build libFuzzer targets (see $out/probe.log), skipping"
    exit $skip
fi

# The fuzzers and the instrumented game library come from CMake, in a folder of their own.
cmake -S "$root" -B "$out/build" -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
    -DCMAKE_BUILD_TYPE=Debug -DHERDER_FUZZ=ON -DHERDER_TESTS=OFF >"$out/configure.log"
cmake --build "$out/build" --target fuzzers -j"$(nproc)"

# The model fuzzer writes the game's log.txt in its working directory: the build folder's.
cd "$out"
for target in tga settings model answer wav; do
    # New inputs go to the build folder; the seeds in the source tree stay as they are.
    corpus="$out/corpus-$target"
    mkdir -p "$corpus"
    # The answer and WAV formats are small and flat: a quarter of the time covers each.
    time=$seconds
    [ "$target" = answer ] || [ "$target" = wav ] && time=$(((seconds + 3) / 4))
    echo "run-fuzzers: $target for $time s"
    # Assimp's FBX parser leaks on some of its own error paths; leaks are not looked for there.
    leaks=1
    [ "$target" = model ] && leaks=0
    ASAN_OPTIONS="detect_leaks=$leaks" \
    "$out/build/fuzz/${target}_fuzzer" -max_total_time="$time" -timeout=10 -rss_limit_mb=2048 \
        -detect_leaks=$leaks \
        -error_exitcode=1 -timeout_exitcode=1 -artifact_prefix="$out/$target-" \
        -print_final_stats=1 "$corpus" "$root/fuzz/corpus/$target"
done
echo "run-fuzzers: no crash"
