#!/bin/sh
# Formatting, folder rules and static analysis.
#   scripts/lint.sh <build directory with compile_commands.json> <the same with the benchmarks>
set -eu
cd "$(dirname "$0")/.."
sources=$(git ls-files '*.h' '*.c' '*.cpp')

# shellcheck disable=SC2086 # one word for each file
clang-format --dry-run -Werror $sources
scripts/check_floors.sh
# The build's own sources; test framework and generated files are others' business.
# Warning options are the compiler's, which may be another one.
tidy() { # <build directory> <folders>
    run-clang-tidy -quiet -p "$1" -j "$(nproc)" -extra-arg=-Wno-unknown-warning-option \
        "$PWD/($2)/.*\.(c|cpp)$" >"$1/tidy.log" 2>&1 || {
        grep -E 'error:|warning:' "$1/tidy.log" | sort -u | head -50
        exit 1
    }
}
tidy "$1" 'src|modules|tools|examples'
tidy "$2" bench
echo "lint: clean"
