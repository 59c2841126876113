#!/usr/bin/env bash
# Compares the library with hand-written code and with other libraries:  scripts/compare.sh [OPTION...] [N...]
#
# N are numbers of vertices (10000, 100000 and 1000000 when there are none); other options are corvane_peers'
# (--help lists them). The tables in docs/performance.md come from here; a busy machine makes them scatter.
set -euo pipefail
cd "$(dirname "$0")/.."

build=build/peers
scripts/setup.sh --peers
cmake --preset release -B "$build" -DCORVANE_BUILD_PEERS=ON
cmake --build "$build" -j "${CORVANE_JOBS:-$(nproc)}" --target corvane_peers
echo
"$build/bin/corvane_peers" "$@"
