#!/bin/sh
# Packs a win32 build into a zip: bin, include, lib, modules, docs, examples. The same build gives
# the same bytes; the files' times are $SOURCE_DATE_EPOCH, or that of the last commit.
#   scripts/win32_package.sh BUILD_DIR PACKAGE.zip
set -eu
build=$1
zip=$(realpath "$2")
top=$(realpath "$(dirname "$0")/..")
epoch=${SOURCE_DATE_EPOCH:-$(git -C "$top" log -1 --format=%ct 2>/dev/null || echo 946684800)}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/zor" >/dev/null
chmod -R u=rwX,go=rX "$work/zor"
find "$work/zor" -exec touch -h -d "@$epoch" {} +
rm -f "$zip"
cd "$work"
find zor -type f | LC_ALL=C sort | TZ=UTC zip -X -q -9 -@ "$zip"
