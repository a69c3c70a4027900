#!/bin/sh
# Formatting, folder rules and static analysis.
#   scripts/lint.sh <build directory with compile_commands.json>
set -eu
cd "$(dirname "$0")/.."
build=$1
sources=$(git ls-files '*.h' '*.c' '*.cpp')

# shellcheck disable=SC2086 # one word for each file
clang-format --dry-run -Werror $sources
scripts/check_floors.sh
# The build's own sources; test framework and generated files are others' business.
# Warning options are the compiler's, which may be another one.
run-clang-tidy -quiet -p "$build" -j "$(nproc)" -extra-arg=-Wno-unknown-warning-option \
    "$PWD/(src|modules|tools|examples)/.*\.(c|cpp)$" >"$build/tidy.log" 2>&1 || {
    grep -E 'error:|warning:' "$build/tidy.log" | sort -u | head -50
    exit 1
}
echo "lint: clean"
