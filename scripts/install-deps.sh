#!/usr/bin/env bash
# Installs the Debian packages that building, running, testing and packaging the game need.
# Idempotent: packages already present are left alone, and apt is only asked when one is missing.
set -euo pipefail

PACKAGES=(
  cmake g++ make pkg-config
  freeglut3-dev libglew-dev libglu1-mesa-dev libgl1-mesa-dri libx11-dev
  libbullet-dev libassimp-dev libmeshoptimizer-dev libopenal-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  xvfb xauth xdotool x11-apps x11-utils imagemagick valgrind python3
  dpkg-dev file lintian desktop-file-utils appstream man-db
)

missing=()
for p in "${PACKAGES[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  echo "install-deps: all ${#PACKAGES[@]} packages present"
  exit 0
fi

SUDO=""
if [ "$(id -u)" -ne 0 ]; then
  SUDO="sudo"
fi

echo "install-deps: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
