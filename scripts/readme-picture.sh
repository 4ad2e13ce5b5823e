#!/usr/bin/env bash
# Renders the README's picture, docs/demo.png: the main job's scene, at a size for a web page.
# Run it after a change that alters what the main job renders, and commit docs/demo.png.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/main.sh
build/apps/orn/orn render examples/scenes/demo.orngl --size 480x360 -o docs/demo.png
