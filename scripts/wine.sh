#!/bin/sh
# Runs a Windows program: in the i386 root that win32_test.sh prepared and names in
# ZOR_WINE_ROOT, or else with the Wine of this machine.
#   scripts/wine.sh PROGRAM.exe [ARGUMENT...]
# The program sees the same paths, working directory and environment in there.
set -eu
WINEDEBUG=${WINEDEBUG:--all}
export WINEDEBUG
unset DISPLAY WAYLAND_DISPLAY # no test may depend on one, nor open windows on it
[ -n "${ZOR_WINE_ROOT:-}" ] || exec wine "$@"

# Names of files are UTF-8 in there. HOME is for Wine, which does not hand it on to the program.
# shellcheck disable=SC2016 # expanded by the shell in there
exec chroot "$ZOR_WINE_ROOT" env LC_ALL=C.UTF-8 HOME=/home WINEPREFIX=/home/prefix \
    PATH=/usr/bin:/bin sh -c 'cd "$1" && shift && exec wine "$@"' sh "$PWD" "$@"
