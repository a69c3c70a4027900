#!/bin/sh
# Runs every fuzz target for a while, on its seeds and what earlier runs found, as many at a time as
# there are processors. What a target has to say is in <build directory>/fuzz-logs; inputs that
# crashed are in <build directory>/crashes: minimised, they belong into fuzz/corpus.
#   scripts/fuzz.sh <build directory> <seconds for each target>
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "$1" && pwd)

if [ $# -eq 3 ]; then # one target
    name=$3
    found=$build/corpus/$name
    log=$build/fuzz-logs/$name
    mkdir -p "$found" "$build/crashes/$name" "$build/fuzz-logs"
    memory=2048
    length=4096
    case $name in
    mox_read) # files of any size in little memory, the sanitizer's included
        memory=256
        length=1000000
        export ASAN_OPTIONS="${ASAN_OPTIONS:-}:quarantine_size_mb=16"
        ;;
    esac
    status=0
    cd "$build" # where slow inputs go
    bin/fuzz_"$name" -max_total_time="$2" -print_final_stats=1 -timeout=10 -max_len=$length \
        -rss_limit_mb=$memory -malloc_limit_mb=$memory -artifact_prefix="crashes/$name/" \
        "$found" "$root/fuzz/corpus/$name" >"$log" 2>&1 || status=$?
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    echo "$name: ${runs:-no} runs in $2 s$([ $status = 0 ] || echo ", FAILED")"
    [ $status = 0 ] || tail -40 "$log"
    exit $status
fi

for target in "$build"/bin/fuzz_*; do
    basename "$target" | sed 's/^fuzz_//'
done | xargs -P "$(nproc)" -n 1 "$0" "$build" "$2"
