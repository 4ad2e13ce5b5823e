#!/usr/bin/env bash
# Installs the Debian packages Orn needs (only those missing), then configures and builds.
# Usage: scripts/setup.sh [build-dir] [extra cmake arguments...]
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(
    build-essential cmake pkg-config
    libgl-dev libglu1-mesa-dev libegl-dev libegl-mesa0 libgl1-mesa-dri
    libglfw3-dev libx11-dev xvfb xauth
    libfreetype-dev libfontconfig-dev fonts-dejavu-core
    libpng-dev
    libgtest-dev libgmock-dev libbenchmark-dev libpugixml-dev
)
missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
    echo "setup: installing ${missing[*]}"
    sudo_cmd=""
    [ "$(id -u)" -eq 0 ] || sudo_cmd="sudo"
    $sudo_cmd apt-get update
    DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y --no-install-recommends "${missing[@]}"
fi

build=${1:-build}
shift || true
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@"
cmake --build "$build" -j "$(nproc)"
