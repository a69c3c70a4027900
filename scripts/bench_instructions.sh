#!/bin/sh
# Counts the instructions that the row codec takes for a byte of samples, which no other load on the
# machine changes, and fails where one exceeds its limit in bench/instruction_limits.txt.
#   scripts/bench_instructions.sh <build directory>
set -eu
limits=$(dirname "$0")/../bench/instruction_limits.txt
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
valgrind --quiet --tool=callgrind --instr-atstart=no --callgrind-out-file="$scratch/out" \
    "$1/bin/codec_instructions"

# Each dump says what it is of, in five words of which the last is a number of bytes, and its total.
sed -n 's/^desc: Trigger: Client Request: //p; s/^totals: //p' "$scratch"/out.* |
    awk 'NF == 5 { name = $2 " " $3 " " $4; version = $1; bytes = $5; next }
         name { print version, name, $1 / bytes; name = "" }' | sort >"$scratch/counts"
awk '
    /^#/ || NF == 0 { next }
    FNR == NR && !columns { for (i = 4; i <= NF; i++) column[$i] = i; columns = NF; next }
    FNR == NR { for (v in column) limit[v " " $1 " " $2 " " $3] = $column[v]; next }
    {
        name = $1 " " $2 " " $3 " " $4
        seen[name] = 1
        versions[$1] = 1
        verdict = !(name in limit) ? "no limit is known" : $5 > limit[name] ? "TOO MANY" : ""
        bad += verdict != ""
        printf "%-6s %-7s %-17s %3s bits %7.3f  at most %5.2f  %s\n", $1, $2, $3, $4, $5,
            limit[name], verdict
    }
    END {
        for (name in limit) {
            split(name, word, " ")
            if (!(word[1] in versions))
                skipped[word[1]] = 1
            else if (!(name in seen)) {
                print "not counted: " name
                bad++
            }
        }
        for (version in skipped)
            print "#  SKIPPED: " version ", which this processor cannot run"
        if (!("sse2" in versions)) {
            print "nothing was counted"
            bad++
        }
        print bad ? "instructions: " bad " over the limit" : "instructions: within the limits"
        exit bad > 0
    }' "$limits" "$scratch/counts"
