#!/bin/sh
# Compares what the headers declare, what src/zor.exports lists and what a binary exports.
#   scripts/check_exports.sh libzor.so|zor.dll [objdump]
set -eu
binary=$1
objdump=${2:-objdump}
root=$(dirname "$0")/..
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$root/scripts/list_exports.sh" >"$work/headers"
LC_ALL=C sort -u "$root/src/zor.exports" >"$work/list"
case $binary in
*.dll)
    # The name table of the export directory: "[ordinal] name".
    "$objdump" -p "$binary" | sed -n '/\[Ordinal\/Name Pointer\] Table/,/^$/p' |
        sed -nE 's/^[[:space:]]*\[ *[0-9]+\] (.*)$/\1/p' ;;
*)
    # Version 0 is that of the library itself.
    nm -D --defined-only "$binary" | awk '$2 != "A" {print $3}' | sed 's/@.*//' ;;
esac | LC_ALL=C sort -u >"$work/binary"

differ=0
diff -u "$work/headers" "$work/list" >"$work/diff" ||
    { echo "headers and src/zor.exports differ:"; cat "$work/diff"; differ=1; }
diff -u "$work/list" "$work/binary" >"$work/diff" ||
    { echo "src/zor.exports and $binary differ:"; cat "$work/diff"; differ=1; }
[ $differ = 0 ] && echo "$(wc -l <"$work/list") names, the same in headers, list and binary"
exit $differ
