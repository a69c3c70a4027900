#!/bin/sh
# Counts the calls to the system that it takes to write and to read a frame, by scanline and whole.
# Calls for memory are left out: how many there are is the allocator's business.
#   scripts/count_system_calls.sh <build directory>
# Like a benchmark it adds its figures to the file that ZOR_BENCH_RESULTS names, if any.
set -eu
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
if ! strace -o /dev/null true 2>/dev/null; then
    echo "#  SKIPPED: strace cannot trace programs here"
    exit 0
fi
strace -f -o "$scratch/calls" "$1/bin/move_frames" "$scratch" >/dev/null

# A call that another thread interrupts has a second line, which does not begin with its name. Marks
# in the output of the program, "= NAME" and "=", tell where a piece of work begins and ends.
awk -v results="${ZOR_BENCH_RESULTS:-/dev/null}" '
    $2 == "write(1," && /"= / { split($0, part, /"= |\\n"/); name = part[2]; count = 0; next }
    $2 == "write(1," && name != "" {
        printf "%-38s %4d calls\n", name, count
        printf "system_calls\t%s\t\t2048x1556\t%d\tcalls\n", name, count >>results
        name = ""
    }
    name == "" || $2 !~ /^[a-z0-9_]+\(/ { next }
    $2 !~ /^(mmap|munmap|mremap|madvise|mprotect|brk)\(/ { count++ }
' "$scratch/calls"
