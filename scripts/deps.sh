#!/usr/bin/env bash
# Installs the Debian packages Vimo needs to build, test and run, and only
# those that are missing, so that a second run costs a second or two.
set -euo pipefail

packages=(
  build-essential cmake ninja-build ccache pkg-config
  qt6-base-dev qt6-base-dev-tools libgl-dev qt6-image-formats-plugins
  liblua5.1-0-dev libplist-dev zlib1g-dev
  libpng-dev libgif-dev libtiff-dev libjpeg62-turbo-dev
  libgtest-dev libgmock-dev libbenchmark-dev libcairo2-dev
  clang-14 libclang-rt-14-dev clang-format
  xvfb xauth xdotool imagemagick
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if ((${#missing[@]})); then
  echo "Installing: ${missing[*]}"
  sudo_cmd=()
  [ "$(id -u)" -eq 0 ] || sudo_cmd=(sudo)
  "${sudo_cmd[@]}" apt-get update -qq
  DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
