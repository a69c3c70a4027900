#!/bin/sh
# Runs every fuzz target for a while, on its seeds and what earlier runs found.
#   scripts/fuzz.sh <build directory> <seconds for each target>
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "$1" && pwd)
seconds=$2
for target in "$build"/bin/fuzz_*; do
    name=$(basename "$target" | sed 's/^fuzz_//')
    found=$build/corpus/$name
    mkdir -p "$found"
    echo "== $name, $seconds s"
    (cd "$build" && "$target" -max_total_time="$seconds" -print_final_stats=1 -rss_limit_mb=2048 \
        -timeout=10 "$found" "$root/fuzz/corpus/$name") 2>&1 | tail -12
done
