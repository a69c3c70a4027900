#!/bin/sh
# Unpacks Debian's 32-bit libpng and zlib under build/i386-root, for the linux32 build, without
# making the machine a multi-architecture one. Their static libraries are what the build uses.
set -eu
cd "$(dirname "$0")/.."
root=$PWD/build/i386-root
[ -e "$root/usr/lib/i386-linux-gnu/libpng16.a" ] && exit 0

work=$root/apt
mkdir -p "$work/state/lists/partial" "$work/cache/archives/partial"
: >"$work/status"
cat >"$work/apt.conf" <<EOF
Dir::State "$work/state";
Dir::State::status "$work/status";
Dir::Cache "$work/cache";
APT::Architecture "i386";
APT::Architectures "i386";
APT::Sandbox::User "root";
EOF
cd "$work"
apt-get -c apt.conf update -qq || true # a partly stale index will do, if it has the packages
apt-get -c apt.conf download -qq libpng-dev:i386 zlib1g-dev:i386
for package in *.deb; do
    dpkg -x "$package" "$root"
done
rm -rf "$work"
