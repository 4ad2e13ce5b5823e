#!/usr/bin/env bash
# Builds Orn and runs the main job: render the demo scene headless into build/demo.png.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh build
cd build
ctest --output-on-failure -L smoke
./apps/orn/orn render --size 800x600 -o demo.png
