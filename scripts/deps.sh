#!/usr/bin/env bash
# Installs the Debian packages that so3d builds with (as root). Packages that
# are already there are left alone; the package lists are refreshed only when
# something is missing.
set -euo pipefail
packages=(cmake g++ ninja-build pkg-config python3 libgtest-dev libgmock-dev libbenchmark-dev libstb-dev
          libpng-dev libturbojpeg0-dev libgif-dev libtiff-dev
          libegl-dev libgles-dev libegl-mesa0 libgl1-mesa-dri
          libgstreamer1.0-dev libgstreamer-plugins-base1.0-dev gstreamer1.0-plugins-base gstreamer1.0-tools "$@")
missing=()
for p in "${packages[@]}"; do
  dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "installing: ${missing[*]}"
  sudo_cmd=""
  [ "$(id -u)" -eq 0 ] || sudo_cmd="sudo"
  $sudo_cmd apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
