#!/bin/sh
# Unpacks Debian's 32-bit libpng and libtiff and what they need under build/i386-root, for the
# linux32 build, without making the machine a multi-architecture one. Their static libraries are what
# the build uses.
# Where the packages cannot be downloaded, it says what is left out and exits with 75.
set -eu
cd "$(dirname "$0")/.."
. scripts/apt.sh
root=$PWD/build/i386-root
lib=$root/usr/lib/i386-linux-gnu
[ -e "$lib/libtiff_whole.a" ] && exit 0

work=$root/apt
rm -rf "$work"
mkdir -p "$work/state/lists/partial" "$work/cache/archives/partial"
: >"$work/status"
cat >"$work/apt.conf" <<END
Dir::State "$work/state";
Dir::State::status "$work/status";
Dir::Cache "$work/cache";
APT::Architecture "i386";
APT::Architectures "i386";
APT::Sandbox::User "root";
END
cd "$work"
apt_update apt-get -c apt.conf

# fetch MODULES PACKAGE...: the modules are those that the packages are for
fetch() {
    modules=$1
    shift
    status=0
    apt_download apt-get -c apt.conf download -qq "$@" || status=$?
    if [ $status = 75 ]; then
        echo "linux32: Debian's 32-bit packages are not to be had: $modules LEFT OUT"
    fi
    [ $status = 0 ] || exit $status
    for package in *.deb; do
        dpkg -x "$package" "$root"
        rm "$package"
    done
}
fetch "png and tiff modules" libpng-dev:i386 zlib1g-dev:i386
fetch "tiff module" libtiff-dev:i386 libdeflate-dev:i386 libjbig-dev:i386 \
    libjpeg62-turbo-dev:i386 liblerc-dev:i386 liblzma-dev:i386 libwebp-dev:i386 libzstd-dev:i386

# One name for libtiff and all it is linked with.
inputs=
for name in tiff webp zstd lzma Lerc jbig jpeg deflate z; do
    inputs="$inputs $lib/lib$name.a"
done
echo "INPUT($inputs -lstdc++ -lm)" >"$lib/libtiff_whole.a"
rm -rf "$work"
