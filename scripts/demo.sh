#!/usr/bin/env bash
# Turns circuit boards into databases, meshes and pictures and shows what came of them:  scripts/demo.sh [--own]
#
# With --own only the board of this repository, else also the boards of Debian's package kicad-demos. Everything lies in
# build/demo afterwards, which the next run replaces; build/demo/index.html shows all pictures.
set -euo pipefail
cd "$(dirname "$0")/.."

own_only=false
[ "${1:-}" = --own ] && own_only=true

scripts/setup.sh
if ! $own_only && ! scripts/setup.sh --demo; then
  echo "demo: the package kicad-demos cannot be installed here; going on with our own board" >&2
fi

# A terminal sees what is being built; elsewhere it goes to a log, of which a failure shows the end.
log=build/demo-build.log
mkdir -p build
quietly() {
  if [ -t 1 ]; then
    "$@"
  elif ! "$@" >"$log" 2>&1; then
    tail -n 40 "$log" >&2
    return 1
  fi
}
echo "building the programs corvane and corvane-mesh, a few minutes the first time"
cmake --preset release >/dev/null
quietly cmake --build --preset release --target corvane_cli -j "${CORVANE_JOBS:-$(nproc)}"
# The mesher needs CGAL; without it the tool says so below.
quietly cmake --build --preset release --target corvane_mesh -j "${CORVANE_JOBS:-$(nproc)}" || true
corvane=$PWD/build/release/bin/corvane
out=build/demo
rm -rf "$out"
mkdir -p "$out"

boards=(examples/boards/*.kicad_pcb)
if ! $own_only && [ -d /usr/share/kicad/demos ]; then
  while IFS= read -r -d '' board; do boards+=("$board"); done \
    < <(find /usr/share/kicad/demos -name '*.kicad_pcb' -print0 | sort -z)
fi

# Board -> database -> mesh, both read back -> pictures of both. A directory holds one mesh.
show_board() {
  local board=$1 folder=$2 name=$3
  mkdir -p "$folder"
  "$corvane" import "$board" "$folder" --name "$name" --json >"$folder/import.json" || return 1
  "$corvane" mesh "$folder" --json >"$folder/mesh.json" || return 1
  "$corvane" render "$folder/$name.zydat" "$folder/layout.svg" >/dev/null || return 1
  "$corvane" render "$folder/corvane2d.zydat" "$folder/mesh.svg" >/dev/null || return 1
}

printf '\nEach board is imported, saved, read back and compared; its copper is triangulated, stored and read back.\n\n'
python3 scripts/demo_table.py --header
status=0
for board in "${boards[@]}"; do
  name=$(basename "$board" .kicad_pcb)
  show_board "$board" "$out/$name" "$name" || status=1
  python3 scripts/demo_table.py "$out/$name"
done
python3 scripts/demo_index.py "$out"

first=$(basename "${boards[0]}" .kicad_pcb)
cat <<TEXT

All pictures:  $out/index.html
What is in a file:  build/release/bin/corvane info $out/$first/$first.zydat
TEXT
exit "$status"
