#!/usr/bin/env bash
# Builds the .deb from the build tree and checks it: everything under /usr, the launcher in
# /usr/games, dependencies computed from what the game links (not the build's -dev packages), and
# lintian reports no error. The warnings that remain are listed in the README.
# Usage: test-package.sh <build-dir> <work-dir>
set -euo pipefail

# Runtime packages the computed dependencies must name: the libraries the game links.
readonly EXPECTED_DEPENDS=(libglut3.12 libbullet3.24 libassimp5 libglew2.2 libc6 zlib1g)

build=$(realpath "$1")
work=$(realpath -m "$2")
rm -rf "$work"
mkdir -p "$work"

fail() {
    echo "FAIL: $*" >&2
    exit 1
}

cpack --config "$build/CPackConfig.cmake" -B "$work" >"$work/cpack.txt" 2>&1 ||
    fail "cpack: $(cat "$work/cpack.txt")"
debs=("$work"/herder_*.deb)
[ -f "${debs[0]}" ] || fail "cpack wrote no herder_*.deb: $(cat "$work/cpack.txt")"
deb=${debs[0]}

depends=$(dpkg-deb -f "$deb" Depends)
for package in "${EXPECTED_DEPENDS[@]}"; do
    [[ $depends =~ (^|, )$package( |,|$) ]] || fail "Depends lacks $package: $depends"
done
[[ $depends != *-dev* ]] || fail "Depends names a development package: $depends"

dpkg-deb -c "$deb" | awk '{print $6}' >"$work/contents.txt"
grep -v '^\./usr/' "$work/contents.txt" && fail "files outside /usr"
grep -qx './usr/games/herder' "$work/contents.txt" || fail "no /usr/games/herder in the package"

# Lintian warns on stderr when run as root; only its tags on stdout matter here.
lintian --fail-on error "$deb" >"$work/lintian.txt" 2>/dev/null ||
    fail "lintian: $(cat "$work/lintian.txt")"
echo "PASS: $(basename "$deb"); lintian: $(wc -l <"$work/lintian.txt") warnings"
cat "$work/lintian.txt"
