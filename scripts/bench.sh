#!/bin/sh
# Runs the benchmarks; their tables of ratios go to the standard output.
#   scripts/bench.sh <build directory>
set -eu
for program in "$1"/bin/bench_*; do
    echo "== $(basename "$program")"
    "$program"
done
