#!/usr/bin/env bash
# Builds Orn and runs every test: the unit binary once in shuffled order, then through CTest
# everything else (GL state and pixel tests live in the unit binary; the orn command, the window
# tests under Xvfb, the install test). Tests that need the outside corpora skip where those are
# absent; the count is printed.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh build
scripts/check-packages.sh build

status=0
log=build/unit-tests.log
LSAN_OPTIONS=suppressions=$(pwd)/tests/support/lsan.supp build/tests/orn_tests --gtest_shuffle 2>&1 |
    tee "$log" || status=1
skipped=$(sed -n 's/^\[  SKIPPED \] \([0-9]*\) tests\?, listed below:$/\1/p' "$log")
echo "test.sh: ${skipped:-0} unit tests skipped (listed above)"

(
    cd build
    # The unit tests ran above; "smoke" is a subset of them.
    ctest --output-on-failure -j "$(nproc)" -LE '^(unit|smoke)$'
) || status=1

# Every reader is fuzzed for a few seconds under ASan/UBSan, seeded from the corpora; a crash,
# a leak or a hang fails the run. ORN_FUZZ_SECONDS=0 leaves it out.
fuzz_seconds=${ORN_FUZZ_SECONDS:-8}
if [ "$fuzz_seconds" -gt 0 ]; then
    CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DORN_BUILD_FUZZ=ON \
        -DORN_SANITIZE=ON -DORN_BUILD_TESTS=OFF -DORN_BUILD_BENCH=OFF -DORN_BUILD_APPS=OFF \
        -DORN_FUZZ_SECONDS="$fuzz_seconds" >/dev/null
    cmake --build build-fuzz -j "$(nproc)"
    (cd build-fuzz && ctest --output-on-failure -L fuzz) || status=1
fi
exit $status
