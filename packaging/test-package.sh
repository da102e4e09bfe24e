#!/usr/bin/env bash
# Builds the two packages from the build tree and checks them: herder holds the program, the
# launcher, the menu entry, icons, manual page and metainfo, herder-data (architecture all) the
# generated content; everything lies under /usr, each carries its copyright and changelog, herder
# depends on exactly its own version of herder-data and on the runtime packages of what the game
# links (not the build's -dev packages), and lintian --pedantic reports no error, no warning and
# no hardening tag. The informational tags that remain are listed in the README.
# Usage: test-package.sh <build-dir> <work-dir>
set -euo pipefail

# Runtime packages the computed dependencies must name: the libraries the game links.
readonly EXPECTED_DEPENDS=(libglut3.12 libbullet3.24 libassimp5 libglew2.2 libc6)
# Whoever builds the packages names themselves as their maintainer (DEBFULLNAME and DEBEMAIL at
# configure time). A build that was not given a name has no address in the field, which lintian
# rightly calls malformed; the test then builds as a builder who did name themselves, at an
# address that by its reserved domain can never receive mail.
readonly TEST_MAINTAINER="Herder package test <package-test@herder.invalid>"
# Files of each package, as patterns matched against whole paths; every file must match one of
# its own package's, and every pattern must match a file.
readonly GAME_FILES=(
    ./usr/games/herder
    ./usr/lib/games/herder/herder
    ./usr/share/applications/herder.desktop
    './usr/share/icons/hicolor/[0-9]*x[0-9]*/apps/herder.png'
    './usr/share/metainfo/*.metainfo.xml'
    ./usr/share/man/man6/herder.6.gz
    ./usr/share/doc/herder/copyright
    ./usr/share/doc/herder/changelog.gz
)
readonly DATA_FILES=(
    ./usr/share/games/herder/settings.ini
    './usr/share/games/herder/*.fbx'
    './usr/share/games/herder/*.tga'
    './usr/share/games/herder/*.wav'
    ./usr/share/doc/herder-data/copyright
    ./usr/share/doc/herder-data/changelog.gz
)

build=$(realpath "$1")
work=$(realpath -m "$2")
rm -rf "$work"
mkdir -p "$work"

fail() {
    echo "FAIL: $*" >&2
    exit 1
}

# Whether the path matches one of the patterns.
matches() {
    local file=$1 pattern
    shift
    for pattern in "$@"; do
        # shellcheck disable=SC2053 # the pattern is a glob on purpose
        [[ $file == $pattern ]] && return 0
    done
    return 1
}

# Checks that the package's files are exactly those its patterns describe.
check_files() {
    local deb=$1 file pattern found
    shift
    mapfile -t files < <(dpkg-deb -c "$deb" | awk '$1 !~ /^d/ { print $6 }')
    for file in "${files[@]}"; do
        matches "$file" "$@" || fail "$(basename "$deb") holds $file, which belongs elsewhere"
    done
    for pattern in "$@"; do
        found=no
        for file in "${files[@]}"; do
            matches "$file" "$pattern" && found=yes && break
        done
        [ $found = yes ] || fail "$(basename "$deb") lacks $pattern"
    done
}

maintainer=$(sed -n 's/^set(CPACK_DEBIAN_PACKAGE_MAINTAINER "\(.*\)")$/\1/p' \
    "$build/CPackConfig.cmake")
overrides=()
[[ $maintainer == *"<"*"@"*">"* ]] ||
    overrides=(-D "CPACK_DEBIAN_PACKAGE_MAINTAINER=$TEST_MAINTAINER")
cpack --config "$build/CPackConfig.cmake" -B "$work" "${overrides[@]}" >"$work/cpack.txt" 2>&1 ||
    fail "cpack: $(cat "$work/cpack.txt")"
version=$(sed -n 's/^set(CPACK_PACKAGE_VERSION "\(.*\)")$/\1/p' "$build/CPackConfig.cmake")
game=$(echo "$work"/herder_"$version"_*.deb)
data=$work/herder-data_${version}_all.deb
for deb in "$game" "$data"; do
    [ -f "$deb" ] || fail "cpack did not write $(basename "$deb"): $(cat "$work/cpack.txt")"
done

check_files "$game" "${GAME_FILES[@]}"
check_files "$data" "${DATA_FILES[@]}"
[ "$(dpkg-deb -f "$data" Architecture)" = all ] || fail "herder-data is not Architecture: all"
[ -z "$(dpkg-deb -f "$data" Depends)" ] || fail "herder-data depends on something"
depends=$(dpkg-deb -f "$game" Depends)
[[ $depends =~ (^|, )"herder-data (= $version)"(,|$) ]] ||
    fail "herder does not depend on herder-data (= $version): $depends"
for package in "${EXPECTED_DEPENDS[@]}"; do
    [[ $depends =~ (^|, )$package( |,|$) ]] || fail "Depends lacks $package: $depends"
done
[[ $depends != *-dev* ]] || fail "Depends names a development package: $depends"

# Lintian warns on stderr when run as root; only its tags on stdout matter here.
lintian --pedantic --display-info --fail-on error,warning "$game" "$data" >"$work/lintian.txt" \
    2>/dev/null || fail "lintian: $(cat "$work/lintian.txt")"
if grep -E ' (hardening-[a-z-]*|binary-has-unneeded-section)' "$work/lintian.txt"; then
    fail "lintian finds the program built without Debian's hardening"
fi
echo "PASS: $(basename "$game"), $(basename "$data"); lintian: $(wc -l <"$work/lintian.txt") tags"
cat "$work/lintian.txt"
