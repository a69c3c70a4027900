#!/bin/sh
# Holds every folder to including only what stands below it: see src/CMakeLists.txt for the order.
set -eu
cd "$(dirname "$0")/.."
floors="platform base err str fmt clr curve core drivers ops"

rank_of() {
    rank=0
    for floor in $floors; do
        rank=$((rank + 1))
        [ "$floor" = "$1" ] && echo $rank && return
    done
}

bad=0
for file in $(find src -name '*.h' -o -name '*.cpp' | sort); do
    own=$(echo "$file" | cut -d/ -f2)
    for other in $(sed -nE 's/^#include "([a-z]+)\/.*/\1/p' "$file" | sort -u); do
        case $other in zor | "$own") continue ;; esac
        own_rank=$(rank_of "$own")
        other_rank=$(rank_of "$other")
        # Drivers and operators stand side by side on the top floor.
        if [ -z "$other_rank" ] || [ "$other_rank" -gt "$own_rank" ] ||
            { [ "$own" = ops ] && [ "$other" = drivers ]; }; then
            echo "$file includes $other/, which does not stand below it"
            bad=1
        fi
    done
done
# Users of the library see its public headers only.
if grep -rnE '^#include "(platform|base|err|str|fmt|clr|curve|core|drivers|ops)/' modules tools examples; then
    bad=1
fi
# The system is nobody's business but the platform layer's.
if grep -rnE '^ *# *(if|ifdef|ifndef|elif).*(_WIN32|WIN32|__linux__|__unix__|__APPLE__)' \
    src modules tools examples tests --include='*.h' --include='*.c' --include='*.cpp' |
    grep -v '^src/platform/'; then
    bad=1
fi
exit $bad
