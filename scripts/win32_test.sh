#!/usr/bin/env bash
# Runs the tests of a win32 build under Wine.
#   scripts/win32_test.sh BUILD_DIR [CTEST_ARGUMENT...]
#
# Wine runs 32-bit programs only beside 32-bit libraries, so it gets a small i386 Debian of its own,
# about 1.1 GB, made once and kept in $ZOR_WINE_ROOT (default: zor-wine in the user's cache
# directory). That takes root's rights, which are asked for with sudo. What is mounted in it is seen
# by the processes of this run only and goes away with them, however they end.
#
# Without Debian's packages there is nothing to run the tests with: that is said, and is no failure.
set -euo pipefail
cd "$(dirname "$0")/.."
top=$PWD
build=$(realpath "$1")
shift
root=${ZOR_WINE_ROOT:-${XDG_CACHE_HOME:-$HOME/.cache}/zor-wine}
packages=wine,wine32
suite=bookworm

as_root() {
    if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi
}

skip() {
    cat <<END

######################################################################
#  SKIPPED: the tests of the win32 build were NOT run.
#  $1
######################################################################
END
    exit 0
}

# Runs a command in a space of its own: what it mounts is seen by itself and by what it starts, and
# when it ends, the kernel ends all of them and takes the mounts down.
#   in_space ROOT COMMAND...
in_space() {
    as_root unshare --mount --propagation private --pid --fork --kill-child \
        --mount-proc="$1/proc" env ZOR_WINE_ROOT="$1" "${@:2}"
}

# Downloading may fail for reasons that are nobody's fault here; what follows may not.
make_root() {
    local work
    mkdir -p "$(dirname "$root")"
    work=$(mktemp -d "$root.XXXXXX")
    # shellcheck disable=SC2064 # the folder as it is called now
    trap "as_root rm -rf '$work'" EXIT
    local log=$work/log
    local make=(as_root debootstrap --arch=i386 --variant=minbase "--include=$packages")
    echo "win32_test: making $root, once"
    if ! "${make[@]}" --make-tarball="$work/packages.tar" $suite "$work/download" >"$log" 2>&1; then
        tail -n 5 "$log"
        skip "Debian's i386 packages ($packages) are not to be had."
    fi
    if ! "${make[@]}" --unpack-tarball="$work/packages.tar" $suite "$work/root" >"$log" 2>&1; then
        tail -n 20 "$log" "$work/root/debootstrap/debootstrap.log" 2>/dev/null || true
        echo "win32_test: the packages are there, but no root could be made of them"
        exit 1
    fi
    as_root rm -rf "$work"/root/var/cache/apt/archives
    # The first start fills Wine's own folder; its server writes the rest when it ends.
    in_space "$work/root" sh -c 'cd / && "$1/scripts/wine.sh" wineboot -i && \
        chroot "$ZOR_WINE_ROOT" env WINEPREFIX=/home/prefix wineserver -w' sh "$top" >"$log" 2>&1 ||
        { tail -n 20 "$log"; echo "win32_test: Wine does not start"; exit 1; }
    as_root mv -T "$work/root" "$root"
    as_root rm -rf "$work"
    trap - EXIT
}

if [ ! -d "$root/home/prefix" ]; then
    scripts/setup.sh wine || skip "The debootstrap package is not to be had."
    make_root
fi

echo "win32_test: running the tests of $build in $root"
in_space "$root" env TOP="$top" BUILD="$build" bash -euo pipefail -c '
    for folder in "$TOP" "$BUILD"; do
        mkdir -p "$ZOR_WINE_ROOT$folder"
        mount --bind "$folder" "$ZOR_WINE_ROOT$folder"
    done
    # Files that tests leave behind must not outlive the run.
    mount -t tmpfs none "$ZOR_WINE_ROOT/home/prefix/drive_c/users/$(id -un)/Temp"
    cd "$TOP"
    ctest --test-dir "$BUILD" --output-on-failure --no-tests=error "$@"
' bash "$@"
