#!/usr/bin/env bash
# Builds Orn and runs every test (unit, GL-call, pixel, window under Xvfb, install).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh build
cd build
ctest --output-on-failure -j "$(nproc)"
