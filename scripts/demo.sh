#!/usr/bin/env bash
# Turns circuit boards into databases and shows what is in them:  scripts/demo.sh [--own]
#
# With --own only the board of this repository, else also the boards of Debian's package kicad-demos.
set -euo pipefail
cd "$(dirname "$0")/.."

own_only=false
[ "${1:-}" = --own ] && own_only=true

scripts/setup.sh
if ! $own_only && ! scripts/setup.sh --demo; then
  echo "demo: the package kicad-demos cannot be installed here; going on with our own board" >&2
fi

cmake --preset release >/dev/null
cmake --build --preset release --target corvane_cli -j "${CORVANE_JOBS:-$(nproc)}"
corvane=$PWD/build/release/bin/corvane
mkdir -p build
out=$(mktemp -d "$PWD/build/demo.XXXXXX")

boards=(examples/boards/*.kicad_pcb)
if ! $own_only && [ -d /usr/share/kicad/demos ]; then
  while IFS= read -r -d '' board; do boards+=("$board"); done \
    < <(find /usr/share/kicad/demos -name '*.kicad_pcb' -print0 | sort -z)
fi

status=0
for board in "${boards[@]}"; do
  name=$(basename "$board" .kicad_pcb)
  echo "importing $board"
  "$corvane" import "$board" "$out" --name "$name" --json >"$out/$name.json" || status=1
done

first=$(basename "${boards[0]}" .kicad_pcb)
if [ -f "$out/$first.zydat" ]; then
  printf '\ncorvane info %s\n' "$first.zydat"
  "$corvane" info "$out/$first.zydat"
fi
echo
python3 scripts/demo_table.py "$out"/*.json
printf '\nThe databases are in %s\n' "$out"
exit "$status"
