#!/usr/bin/env bash
# Fuzzes for a while, one target after the other:  scripts/fuzz.sh SECONDS_PER_TARGET [PRESET [TARGET...]]
#
# Presets: fuzz (default; optimised), asan. Inputs that lead to new ways through the code are kept in
# build/PRESET/fuzz/TARGET, those that end a target in build/PRESET/fuzz/findings: fix the fault and put the input into
# tests/fuzz/corpus/TARGET, which every test run replays.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:?usage: scripts/fuzz.sh SECONDS_PER_TARGET [PRESET [TARGET...]]}
preset=${2:-fuzz}
targets=("${@:3}")
[ ${#targets[@]} -gt 0 ] || targets=(load schema frames structure render info mesher)

scripts/setup.sh --ci
cmake --preset "$preset"
cmake --build --preset "$preset" -j "${CORVANE_JOBS:-$(nproc)}" --target "${targets[@]/%/_fuzz}"

# libFuzzer's own leak check runs every new input twice; leaks are reported at the end all the same.
export ASAN_OPTIONS=allocator_may_return_null=1:malloc_context_size=3:quarantine_size_mb=16
work=build/$preset/fuzz
mkdir -p "$work/findings"
for target in "${targets[@]}"; do
  mkdir -p "$work/$target"
  log=$work/$target.log
  if ! "build/$preset/bin/${target}_fuzz" -max_total_time="$seconds" -max_len=4096 -timeout=10 -rss_limit_mb=2048 \
    -malloc_limit_mb=2048 -entropic=0 -detect_leaks=0 -print_final_stats=1 \
    -artifact_prefix="$work/findings/$target-" "$work/$target" "tests/fuzz/corpus/$target" >"$log" 2>&1; then
    tail -n 60 "$log"
    echo "fuzz: $target has found something, see $work/findings and $log" >&2
    exit 1
  fi
  echo "fuzz: $target: $(sed -n 's/^stat::number_of_executed_units: *//p' "$log") executions in $seconds s, no finding"
done
