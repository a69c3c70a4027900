#!/bin/sh
# Runs the tests that make allocations and calls to the system fail, and adds their points up.
#   scripts/faults.sh BUILD_FOLDER
set -eu

programs='^(base|clr|curve|fault_sweep|fmt|mox|name|ops|str)_test$'
log=$1/faults.log
if ! ctest --test-dir "$1" --verbose --no-tests=error -R "$programs" >"$log" 2>&1; then
    grep -E 'Failure|FAILED|ERROR:|Test.*(Failed|Timeout)' "$log" | head -50
    echo "faults: failed, see $log"
    exit 1
fi
awk '/fault points:/ { points += $NF } END { print "faults: " points " points tried, no fault" }' "$log"
