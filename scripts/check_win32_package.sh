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
linked=$(PKG_CONFIG_LIBDIR=$PWD/lib/pkgconfig pkg-config --cflags --libs zor)
# shellcheck disable=SC2086 # one word for each option
{
    "$cc" $warnings examples/import_library.c $linked -o bin/import_library.exe
    "$cc" $warnings -Iinclude examples/load_library.c -o load_library.exe
}

run() {
    "$scripts/wine.sh" "$@"
}
run bin/import_library.exe modules/mox.dll imported.mox
run load_library.exe bin/zor.dll modules/mox.dll loaded.mox
[ "$(find . -name '*.mox' -size +748c | wc -l)" = 2 ] || { echo "files lack their rows"; exit 1; }

run bin/zor.exe info imported.mox loaded.mox >info.txt
cat info.txt
[ "$(grep -c "64 x 48" info.txt)" = 2 ] || { echo "zor.exe info tells other sizes"; exit 1; }
run bin/zor.exe formats >formats.txt
cat formats.txt
for module in modules/*.dll; do
    key=$(basename "$module" .dll)
    grep -q "^$key " formats.txt || { echo "zor.exe formats does not list $key"; exit 1; }
    case $key in
    ppm | png)
        run bin/zor.exe convert imported.mox "converted.$key"
        run bin/zor.exe compare imported.mox "converted.$key" ;;
    esac
done
