#!/bin/sh
# Runs tests of a build without sanitizers under valgrind's memory checker.
#   scripts/valgrind.sh BUILD_FOLDER
set -eu

home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
check() {
    echo "valgrind: $*"
    HOME=$home valgrind --quiet --error-exitcode=99 --leak-check=full --errors-for-leak-kinds=definite \
        "$@" >"$home/log" 2>&1 || {
        tail -60 "$home/log"
        exit 1
    }
}
bin=$1/bin
for test in base str err fmt clr curve core name platform mem pipe pnm; do
    check "$bin/${test}_test"
done
# what takes too long in full
check "$bin/mox_test" --gtest_filter='-*AnyValue*:*EveryPrefix*:*ChainsEnd*:*EveryCall*'
check "$bin/fault_sweep_test" --gtest_filter='*Memory*:*Kept*:*Pipe*:*Starting*'
