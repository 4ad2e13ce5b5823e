#!/usr/bin/env bash
# The main job: builds the orn command (and the library) only, then renders the demo scene file
# headless into build/demo.png.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh --target orn_app build
build/apps/orn/orn render examples/scenes/demo.orngl --size 800x600 -o build/demo.png
