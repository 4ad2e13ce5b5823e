#!/usr/bin/env bash
# Installs the Debian packages of scripts/packages.txt that are missing, then configures and builds.
# Usage: scripts/setup.sh [--target TARGET]... [build-dir] [extra cmake arguments...]
#   --target TARGET   build only TARGET (and what it needs); may be given more than once
set -euo pipefail
cd "$(dirname "$0")/.."

targets=()
while [ $# -gt 0 ] && [ "$1" = "--target" ]; do
    [ $# -ge 2 ] || { echo "setup: --target needs a target name" >&2; exit 2; }
    targets+=(--target "$2")
    shift 2
done

mapfile -t packages < <(grep -v -e '^#' -e '^[[:space:]]*$' scripts/packages.txt)
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
cmake --build "$build" -j "$(nproc)" "${targets[@]}"
