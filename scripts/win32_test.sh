#!/usr/bin/env bash
# Runs the tests of a win32 build under Wine.
#   scripts/win32_test.sh BUILD_DIR [CTEST_ARGUMENT...]
#
# Wine runs 32-bit programs only beside 32-bit libraries, so it gets a small i386 Debian of its own,
# about 1.1 GB, made once and kept in $ZOR_WINE_ROOT (default: zor-wine in the user's cache
# directory). That takes root's rights, which are asked for with sudo; the root belongs to root, what
# the tests write in BUILD_DIR is handed to the user in the end. What is mounted is seen by the
# processes of this run only and goes away with them, however they end. Several runs may go on at a
# time.
#
# While the root is yet to be made and Debian's mirror fails, there is nothing to run the tests with:
# that is said, and is no failure. Everything else that goes wrong is one.
set -euo pipefail
build=$(realpath "$1")
shift
home=${HOME:-$(getent passwd "$(id -u)" | cut -d: -f6)}
root=$(realpath -m "${ZOR_WINE_ROOT:-${XDG_CACHE_HOME:-$home/.cache}/zor-wine}")
cd "$(dirname "$0")/.."
top=$PWD
packages=wine,wine32
suite=bookworm
download=1800   # seconds that it may take, and
first_start=600 # Wine's first start
work=           # the folder in which a root is being made

as_root() {
    if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi
}

fail() {
    echo "win32_test: $*" >&2
    exit 1
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

clean_up() {
    [ -z "$work" ] || as_root rm -rf --one-file-system "$work"
    [ "$(id -u)" = 0 ] || as_root chown -hR "$(id -u):$(id -g)" "$build"
}

# Runs a command in a space of its own: what it mounts is seen by itself and by what it starts, and
# when it ends, the kernel ends all of them and takes the mounts down.
in_space() {
    as_root unshare --mount --propagation private --pid --fork --kill-child --mount-proc "$@"
}

# The same with a root set up for wine.sh. Its /tmp, where Wine's server is found, is the space's own.
#   in_root ROOT COMMAND...
in_root() {
    # shellcheck disable=SC2016 # expanded by the shell in there
    in_space env ZOR_WINE_ROOT="$1" sh -euc '
        mount -t proc none "$ZOR_WINE_ROOT/proc"
        mount -t tmpfs none "$ZOR_WINE_ROOT/tmp"
        exec "$@"' sh "${@:2}"
}

# Whether it was the network or the mirror that kept debootstrap from downloading, which wget tells.
# A full disk is not, nor a release or package that the mirror does not know.
#   mirror_failed LOG WGET_LOG
mirror_failed() {
    local faults='^failed: |unable to resolve|Read error|No data received|Giving up|SSL connection'
    grep -Eq "^E: (Failed getting release|Couldn't download)" "$1" &&
        grep -Eq "$faults|ERROR (5..|403|407|429)" "$2" && ! grep -q 'Cannot write' "$2"
}

make_root() {
    mkdir -p "$(dirname "$root")"
    work=$(mktemp -d "$root.XXXXXX")
    local log=$work/log
    printf 'tries = 3\ntimeout = 60\n' >"$work/wgetrc"
    local make=(debootstrap --arch=i386 --variant=minbase "--include=$packages")

    echo "win32_test: making $root, once"
    local status=0
    in_space timeout --foreground -s KILL $download env LC_ALL=C WGETRC="$work/wgetrc" \
        "${make[@]}" --make-tarball="$work/packages.tar" $suite "$work/download" >"$log" 2>&1 ||
        status=$?
    if [ $status != 0 ]; then
        local wget_log=$work/download/debootstrap/debootstrap.log
        tail -n 10 "$log" "$wget_log" || true
        if [ $status = 137 ] || mirror_failed "$log" "$wget_log"; then
            skip "Debian's i386 packages ($packages) are not to be had."
        fi
        fail "debootstrap could not download the packages, which is not the mirror's fault"
    fi
    if ! in_space "${make[@]}" --unpack-tarball="$work/packages.tar" $suite "$work/root" \
        >"$log" 2>&1; then
        tail -n 20 "$log" "$work/root/debootstrap/debootstrap.log" || true
        fail "the packages are there, but no root could be made of them"
    fi
    as_root rm -rf --one-file-system "$work/root/var/cache/apt/archives"

    # The first start fills Wine's own folder; its server writes the rest when it ends.
    # shellcheck disable=SC2016 # expanded by the shell in there
    in_root "$work/root" timeout --foreground -k 10 $first_start sh -c '
        cd / && "$1/scripts/wine.sh" wineboot -i &&
            chroot "$ZOR_WINE_ROOT" env WINEPREFIX=/home/prefix wineserver -w' sh "$top" \
        >"$log" 2>&1 ||
        { tail -n 20 "$log"; fail "Wine does not start, or takes more than $first_start s"; }
    # Another run may have been faster; its root is as good.
    as_root mv -T "$work/root" "$root" 2>"$log" || [ -d "$root/home/prefix" ] ||
        { cat "$log"; fail "$root cannot be put there"; }
}

as_root true || fail "root's rights are needed, to make and enter the root that Wine runs in"
in_space true || fail "unshare does not work here, not even for root: no mounts of one's own"
trap clean_up EXIT
if [ ! -d "$root/home/prefix" ]; then
    [ -z "$(ls -A "$root" 2>/dev/null)" ] || fail "$root is there, but has no Wine in it"
    scripts/setup.sh wine || case $? in
        75) skip "The debootstrap package is not to be had." ;;
        *) fail "debootstrap cannot be installed" ;;
    esac
    make_root
fi

echo "win32_test: running the tests of $build in $root"
# shellcheck disable=SC2016 # expanded by the shell in there
in_root "$root" env TOP="$top" BUILD="$build" bash -euo pipefail -c '
    for folder in "$TOP" "$BUILD"; do
        mkdir -p "$ZOR_WINE_ROOT$folder"
        mount --bind "$folder" "$ZOR_WINE_ROOT$folder"
    done
    # Files that tests leave behind must not outlive the run.
    mount -t tmpfs none "$ZOR_WINE_ROOT/home/prefix/drive_c/users/$(id -un)/Temp"
    cd "$TOP"
    ctest --test-dir "$BUILD" --output-on-failure --no-tests=error "$@"
' bash "$@"
