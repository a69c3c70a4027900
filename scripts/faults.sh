#!/bin/sh
# Runs the tests that make allocations and calls to the system fail, and adds their points up.
#   scripts/faults.sh BUILD_FOLDER
set -eu

programs='base clr curve err fault_sweep fmt mox name ops str'
log=$1/faults.log
if ! ctest --test-dir "$1" --verbose --no-tests=error -R "^($(echo "$programs" | tr " " "|"))_test\$" >"$log" 2>&1; then
    grep -E 'Failure|FAILED|ERROR:|Test.*(Failed|Timeout)' "$log" | head -50
    echo "faults: failed, see $log"
    exit 1
fi
# Each of them tells its points.
awk -v programs="$(echo "$programs" | wc -w)" '
    /fault points:/ { points += $NF; --programs }
    END {
        if (programs != 0) { print "faults: not all tests made something fail"; exit 1 }
        print "faults: " points " points tried, no fault"
    }' "$log"
