#!/bin/sh
# Runs the benchmarks, and ends with one table of all their ratios. Slowness is no failure.
#   scripts/bench.sh <build directory> [<pattern of programs, such as 'bench_f*'>]
# The figures stay in <build directory>/results.tsv.
set -eu
build=$1
failed=
export ZOR_BENCH_RESULTS="$build/results.tsv"
export BENCHMARK_MIN_TIME=0.1 # seconds of each plain figure; what counts are the ratios
: >"$ZOR_BENCH_RESULTS"
# shellcheck disable=SC2231 # a pattern
for program in "$build"/bin/${2:-bench_*}; do
    echo "== $(basename "$program")"
    "$program" || failed="$failed $(basename "$program")"
done
if [ $# -lt 2 ]; then
    echo "== system calls"
    "$(dirname "$0")/count_system_calls.sh" "$build"
fi
echo
"$(dirname "$0")/bench_table.sh" "$ZOR_BENCH_RESULTS"
[ -z "$failed" ] || { echo "bench: failed:$failed"; exit 1; }
