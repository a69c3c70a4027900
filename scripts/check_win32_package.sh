#!/bin/sh
# Tries a package as those who get it do: its programs run where it was unpacked, and programs that
# have nothing but the package compile, link and run.
#   scripts/check_win32_package.sh PACKAGE.zip WORK_DIR [C_COMPILER]
set -eu
scripts=$(realpath "$(dirname "$0")")
zip=$(realpath "$1")
work=$2
cc=${3:-i686-w64-mingw32-gcc-posix}

rm -rf "$work"
mkdir -p "$work"
cd "$work"
unzip -q "$zip"
cd zor
for folder in bin include lib modules docs examples; do
    [ -d $folder ] || { echo "$folder is missing"; exit 1; }
done
warnings="-std=c11 -Wall -Wextra -Wpedantic -Werror"
# shellcheck disable=SC2086 # one word for each warning
{
    "$cc" $warnings -Iinclude examples/import_library.c -Llib -lzor.dll -o bin/import_library.exe
    "$cc" $warnings -Iinclude examples/load_library.c -o load_library.exe
}
"$scripts/wine.sh" bin/import_library.exe modules/mox.dll imported.mox
"$scripts/wine.sh" load_library.exe bin/zor.dll modules/mox.dll loaded.mox
"$scripts/wine.sh" bin/zor.exe info imported.mox loaded.mox | grep "64 x 48"
[ "$(find . -name '*.mox' -size +748c | wc -l)" = 2 ]
