#!/usr/bin/env bash
# Installs the Debian packages the engine, its tests and its run script need, only those missing.
set -euo pipefail

packages=(
  build-essential cmake pkg-config
  libsdl2-dev libsdl2-ttf-dev libsdl2-image-dev libgl-dev libx11-dev
  libgtest-dev
  xvfb xauth xdotool imagemagick
  mesa-utils libgl1-mesa-dri libegl-mesa0
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  sudo_cmd=()
  if [ "$(id -u)" -ne 0 ]; then sudo_cmd=(sudo); fi
  export DEBIAN_FRONTEND=noninteractive
  "${sudo_cmd[@]}" apt-get update -qq
  "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
