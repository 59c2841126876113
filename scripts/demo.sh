#!/usr/bin/env bash
# Turns circuit boards into databases, meshes and pictures and shows what came of them:  scripts/demo.sh [--own]
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
# The mesher needs CGAL; without it the tool says so below.
cmake --build --preset release --target corvane_mesh -j "${CORVANE_JOBS:-$(nproc)}" || true
corvane=$PWD/build/release/bin/corvane
mkdir -p build
out=$(mktemp -d "$PWD/build/demo.XXXXXX")

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
  "$corvane" render "$folder/$name.zydat" "$folder/layout.svg" || return 1
  "$corvane" render "$folder/corvane2d.zydat" "$folder/mesh.svg" || return 1
}

status=0
for board in "${boards[@]}"; do
  name=$(basename "$board" .kicad_pcb)
  printf '\n%s\n' "$board"
  show_board "$board" "$out/$name" "$name" || status=1
done

first=$(basename "${boards[0]}" .kicad_pcb)
for file in "$first" corvane2d; do
  [ -f "$out/$first/$file.zydat" ] || continue
  printf '\ncorvane info %s.zydat\n' "$file"
  "$corvane" info "$out/$first/$file.zydat"
done
echo
python3 scripts/demo_table.py "$out"/*/
printf '\nDatabases, meshes and pictures are in %s\n' "$out"
exit "$status"
