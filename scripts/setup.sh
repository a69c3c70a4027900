#!/bin/sh
# Installs the Debian packages that the named groups of work need and that are not there yet.
#   scripts/setup.sh native [bench] [fuzz] [lint] [linux32] [win32] [valgrind] [wine]
# Exits with 75 when it is the download that failed.
set -eu

packages_for() {
    case $1 in
    native)
        echo g++ cmake ninja-build make pkg-config googletest libcli11-dev nlohmann-json3-dev \
            libpng-dev libtiff-dev liblcms2-dev locales ;;
    bench) echo libbenchmark-dev liblcms2-dev libtiff-dev libopenexr-dev libpng-dev valgrind strace ;;
    fuzz) echo clang libclang-rt-14-dev g++-multilib ;;
    lint) echo clang-format clang-tidy clang-tools ;;
    linux32) echo g++-multilib ;;
    win32) echo g++-mingw-w64-i686-posix dpkg-dev zip unzip ;;
    valgrind) echo valgrind libc6-dbg ;;
    wine) echo debootstrap debian-archive-keyring wget util-linux ;;
    *) echo "setup.sh: unknown group '$1'" >&2; exit 2 ;;
    esac
}

wanted=
for group in "$@"; do
    wanted="$wanted $(packages_for "$group")"
done

missing=
for package in $wanted; do
    status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$status" = installed ] || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

sudo=
[ "$(id -u)" = 0 ] || sudo=sudo
echo "setup: installing$missing"
. "$(dirname "$0")/apt.sh"
apt_update $sudo apt-get

install() {
    # shellcheck disable=SC2086 # one word for each package
    $sudo env DEBIAN_FRONTEND=noninteractive LC_ALL=C \
        apt-get install -y -qq --no-install-recommends "$@" $missing >/dev/null
}
apt_download install --download-only || exit $?
install
