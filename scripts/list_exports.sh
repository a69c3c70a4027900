#!/bin/sh
# Prints the names the public headers declare with ZOR_API, sorted: what the library exports.
set -eu
cd "$(dirname "$0")/.."
find include/zor -name "*.h" ! -name export.h -exec cat {} + |
    tr '\n' ' ' |
    grep -oE 'ZOR_API [^;{]*' |
    sed -E 's/ *\(.*//; s/ *\[.*//; s/.*[ *]//' |
    LC_ALL=C sort -u
