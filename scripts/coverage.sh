#!/usr/bin/env bash
# Counts which lines of the library its tests run:  scripts/coverage.sh
#
# Prints a line for each file and fails when tools/check_coverage.py finds too little.
set -euo pipefail
cd "$(dirname "$0")/.."

build=build/coverage
scripts/setup.sh --coverage
cmake --preset coverage
cmake --build --preset coverage -j "${CORVANE_JOBS:-$(nproc)}"
find "$build" -name '*.gcda' -delete
ctest --preset coverage -j "${CORVANE_JOBS:-$(nproc)}" -E '^(install|headers)\.'
gcovr --root . --filter '(util|zydata|mpsys|facade)/' --json "$build/coverage.json" "$build"
tools/check_coverage.py "$build/coverage.json"
