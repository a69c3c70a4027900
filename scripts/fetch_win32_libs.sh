#!/bin/sh
# Puts libpng and zlib for the win32 build under build/win32-root, as static libraries: zlib from
# Debian's package for mingw-w64, libpng built from Debian's source package.
# Where the packages cannot be downloaded, it says what is left out and exits with 75.
set -eu
cd "$(dirname "$0")/.."
. scripts/apt.sh
root=$PWD/build/win32-root
[ -e "$root/lib/libpng.a" ] && exit 0
cc=i686-w64-mingw32-gcc-posix

# The machine's own Debian archive, for sources as well.
sources() {
    for type in deb deb-src; do
        apt-get indextargets --format "$type \$(SITE) \$(RELEASE) \$(COMPONENT)" \
            'Created-By: Packages' 'Label: Debian' | sort -u
    done
}

work=$root/work
rm -rf "$work"
mkdir -p "$work/state/lists/partial" "$work/cache/archives/partial" "$root/lib" "$root/include"
: >"$work/status"
sources >"$work/sources.list"
if [ ! -s "$work/sources.list" ]; then # the lists have been cleared away
    as_root=
    [ "$(id -u)" = 0 ] || as_root=sudo
    apt_update $as_root apt-get
    sources >"$work/sources.list"
fi
cat >"$work/apt.conf" <<END
Dir::Etc::sourcelist "$work/sources.list";
Dir::Etc::sourceparts "-";
Dir::State "$work/state";
Dir::State::status "$work/status";
Dir::Cache "$work/cache";
APT::Sandbox::User "root";
END
cd "$work"
apt_update apt-get -c apt.conf
status=0
apt_download apt-get -c apt.conf download -qq libz-mingw-w64-dev &&
    apt_download apt-get -c apt.conf source -qq --download-only libpng1.6 || status=$?
if [ $status = 75 ]; then
    echo "win32: Debian's packages of zlib and libpng are not to be had: the png module is LEFT OUT"
    exit 75
fi
[ $status = 0 ] || exit $status

# The archive alone: the linker would take an import library that lies beside it.
dpkg -x libz-mingw-w64-dev_*.deb zlib
cp zlib/usr/i686-w64-mingw32/lib/libz.a "$root/lib"
cp zlib/usr/i686-w64-mingw32/include/z*.h "$root/include"

dpkg-source -x libpng1.6_*.dsc png >/dev/null
cd png
cp scripts/pnglibconf.h.prebuilt pnglibconf.h
rm pngtest.c
"$cc" -O2 -msse2 -mfpmath=sse -mstackrealign -I"$root/include" -c png*.c
i686-w64-mingw32-ar rcsD libpng.a png*.o
cp png.h pngconf.h pnglibconf.h "$root/include"
cp libpng.a "$root/lib"
rm -rf "$work"
