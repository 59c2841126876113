#!/usr/bin/env bash
# Sets up, builds and runs every test:  scripts/test.sh [PRESET]
#
# Presets: release (default), dev, clang, asan, tsan, coverage.
set -euo pipefail
cd "$(dirname "$0")/.."

preset=${1:-release}
jobs=${CORVANE_JOBS:-$(nproc)}
setup_options=()
case $preset in clang | asan) setup_options=(--ci) ;; esac

scripts/setup.sh "${setup_options[@]}"
cmake --preset "$preset"
cmake --build --preset "$preset" -j "$jobs"
report=$PWD/build/$preset/test-report.xml
status=0
ctest --preset "$preset" -j "$jobs" --output-junit "$report" || status=$?
python3 scripts/list_skipped.py "$report"
exit "$status"
