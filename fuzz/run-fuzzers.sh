#!/usr/bin/env bash
# Builds the libFuzzer targets (TGA reader, settings reader, model loading from bytes) with clang
# and runs each for a bounded time, starting from the seed corpus in fuzz/corpus. Exits non-zero when a target
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

# Model loading needs the whole game library: built once per change, instrumented for coverage,
# two files at a time.
read -r -a bullet <<<"$(pkg-config --cflags --libs bullet)"
libflags=(-std=c++17 -g -O1 -fsanitize=fuzzer-no-link,address,undefined
          -fno-sanitize-recover=undefined -I"$root/include" -I"$root/src/render"
          -I"$root/src/physics" "${bullet[@]}")
mkdir -p "$out/obj"
export out root
printf '%s\0' "${libflags[@]}" >"$out/libflags"
find "$root/src" -name '*.cpp' -print0 | xargs -0 -P "$(nproc)" -I{} bash -c '
    src={}; obj="$out/obj/$(echo "${src#$root/src/}" | tr / _).o"
    if [ ! "$obj" -nt "$src" ] || [ -n "$(find "$root/include" "$root/src" -name "*.h" -newer "$obj")" ]; then
        mapfile -d "" flags <"$out/libflags"
        clang++ "${flags[@]}" -c "$src" -o "$obj"
    fi'
clang++ "${flags[@]}" "$root/fuzz/model_fuzzer.cpp" "$out"/obj/*.o -o "$out/model_fuzzer" \
    -lassimp "${bullet[@]}" -lGLEW -lglut -lGLU -lGL -lX11 -lz

for target in tga settings model; do
    # New inputs go to the build folder; the seeds in the source tree stay as they are.
    corpus="$out/corpus-$target"
    mkdir -p "$corpus"
    echo "run-fuzzers: $target for $seconds s"
    # Assimp's FBX parser leaks on some of its own error paths; leaks are not looked for there.
    leaks=1
    [ "$target" = model ] && leaks=0
    ASAN_OPTIONS="detect_leaks=$leaks" \
    "$out/${target}_fuzzer" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
        -detect_leaks=$leaks \
        -error_exitcode=1 -timeout_exitcode=1 -artifact_prefix="$out/$target-" \
        -print_final_stats=1 "$corpus" "$root/fuzz/corpus/$target"
done
echo "run-fuzzers: no crash"
