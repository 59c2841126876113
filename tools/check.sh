#!/usr/bin/env bash
# All checks before a change goes in:  tools/check.sh [STEP...]  (format layers gcc asan fuzz; default all; also clang)
#
# The build under the sanitizers is clang's, so both compilers' warnings are errors without a build for that alone; it
# has the fuzz targets too; those of the library run for a minute, those of the programs replay their inputs.
# Headers alone, the install test and the layer check's own test are part of the test runs.
set -euo pipefail
cd "$(dirname "$0")/.."

cpp_files() { git ls-files -z --cached --others --exclude-standard -- '*.h' '*.cpp'; }

check_format() { cpp_files | xargs -0 -r clang-format --dry-run -Werror; }
check_layers() { python3 tools/check_layers.py; }
check_gcc() { scripts/test.sh release; }
check_clang() { scripts/test.sh clang; }
check_asan() { scripts/test.sh asan; }
check_fuzz() { scripts/fuzz.sh 15 asan load schema frames structure; }

steps=("$@")
[ $# -gt 0 ] || steps=(format layers gcc asan fuzz)
for step in "${steps[@]}"; do
  if ! declare -F "check_$step" >/dev/null; then
    echo "check: unknown step $step" >&2
    exit 2
  fi
  printf '\n== %s\n' "$step"
  SECONDS=0
  "check_$step"
  printf '== %s passed in %d s\n' "$step" "$SECONDS"
done
