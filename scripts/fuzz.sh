#!/usr/bin/env bash
# Builds the fuzz targets of fuzz/ with clang (libFuzzer, AddressSanitizer,
# UndefinedBehaviorSanitizer) and runs each for SECONDS (default 60), one
# after the other. Any finding (a crash, a broken promise, a leak, a timeout
# of one input, memory past the limit) fails the script; the input that
# caused it is kept as <work>/findings/<target>-crash-... and printed.
#
#   bash scripts/fuzz.sh [SECONDS]
#
# Environment:
#   TESSARIX_FUZZ_BUILD    build folder (default: build-fuzz in the repository)
#   TESSARIX_FUZZ_TARGETS  the targets to run, blank-separated (default: all)
#   TESSARIX_FUZZ_NICE     niceness of the fuzzing runs (default 10)
#
# The checked-in seeds (fuzz/corpus/<target>), past findings
# (fuzz/regressions/<target>) and the catalogue's model texts are read, never
# written: new inputs go to the work folder <build>/fuzz-work, which each run
# starts afresh.
set -euo pipefail

seconds=${1:-60}
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${TESSARIX_FUZZ_BUILD:-$root/build-fuzz}
targets=${TESSARIX_FUZZ_TARGETS:-model_text model_fit data_file number_format fit_inputs tool}
niceness=${TESSARIX_FUZZ_NICE:-10}
jobs=$(nproc 2>/dev/null || echo 2)

echo "== fuzz build (clang) in $build"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++ \
  -DTESSARIX_BUILD_FUZZERS=ON -DTESSARIX_BUILD_TESTS=OFF -DTESSARIX_WARNINGS_AS_ERRORS=ON >/dev/null
build_targets=(tessarix_fuzz_write_model_seeds)
for target in $targets; do build_targets+=("tessarix_fuzz_$target"); done
cmake --build "$build" -j "$jobs" --target "${build_targets[@]}"

work=$build/fuzz-work
rm -rf "$work"
mkdir -p "$work/findings" "$work/tmp"
# The catalogue's model texts join the seeds of model_text.
"$build/fuzz/tessarix_fuzz_write_model_seeds" "$work/seeds/model_text" >/dev/null

# Per target: the largest input worth trying and the dictionary, if any.
max_len() {
  case "$1" in
    number_format) echo 512 ;;
    model_text | model_fit | fit_inputs) echo 1024 ;;
    *) echo 8192 ;;
  esac
}

# model_fit reads the input of model_text: its seeds and dictionary.
seeds_of() {
  case "$1" in
    model_fit) echo model_text ;;
    *) echo "$1" ;;
  esac
}

failed=()
summary=()
for target in $targets; do
  echo "== fuzzing $target for ${seconds}s"
  corpus=$work/corpus/$target
  mkdir -p "$corpus"
  seeds=$(seeds_of "$target")
  inputs=("$corpus" "$root/fuzz/corpus/$seeds")
  [ -d "$root/fuzz/regressions/$target" ] && inputs+=("$root/fuzz/regressions/$target")
  [ -d "$work/seeds/$seeds" ] && inputs+=("$work/seeds/$seeds")
  options=(-max_total_time="$seconds" -timeout=25 -rss_limit_mb=2560 -max_len="$(max_len "$target")"
    -print_final_stats=1 -artifact_prefix="$work/findings/$target-")
  [ -f "$root/fuzz/dictionaries/$seeds.dict" ] && options+=(-dict="$root/fuzz/dictionaries/$seeds.dict")
  log=$work/$target.log
  status=0
  TMPDIR=$work/tmp ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1 \
    UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    nice -n "$niceness" "$build/fuzz/tessarix_fuzz_$target" "${options[@]}" "${inputs[@]}" >"$log" 2>&1 || status=$?
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
  rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log" | tail -1)
  coverage=$(grep -oE 'cov: [0-9]+ ft: [0-9]+' "$log" | tail -1 || true)
  summary+=("$(printf '%-14s %10s runs %8s/s  %s' "$target" "${runs:-?}" "${rate:-?}" "${coverage:-}")")
  if [ "$status" -ne 0 ] || ls "$work/findings/$target-"* >/dev/null 2>&1; then
    failed+=("$target")
    echo "!! $target: finding (exit $status); the end of its log:"
    tail -60 "$log"
    ls -l "$work/findings/$target-"* 2>/dev/null || true
  else
    echo "   ${summary[-1]}"
  fi
done

echo "== fuzz summary (${seconds}s per target)"
printf '%s\n' "${summary[@]}"
if [ ${#failed[@]} -gt 0 ]; then
  echo "== findings in: ${failed[*]} (inputs under $work/findings)"
  exit 1
fi
echo "== no findings"
