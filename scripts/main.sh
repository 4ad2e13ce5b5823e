#!/usr/bin/env bash
# Builds Orn and runs the main job: render the demo scene file headless into build/demo.png.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh build
cd build
ctest --output-on-failure -L smoke
./apps/orn/orn render ../examples/scenes/demo.orngl --size 800x600 -o demo.png
