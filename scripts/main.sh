#!/usr/bin/env bash
# Builds Orn and runs the main job.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh build
cd build
ctest --output-on-failure -L smoke
