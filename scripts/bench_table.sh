#!/bin/sh
# Makes one table of what benchmarks noted, and marks what misses its bar in bench/bars.txt.
#   scripts/bench_table.sh <file of results>
# Each line of the file: program, name, peer, size, figure, unit, with tabs between them.
set -eu
awk -F '\t' '
    function median(list,    value, n, i, j, swap) {
        n = split(list, value, " ")
        for (i = 2; i <= n; i++)
            for (j = i; j > 1 && value[j] + 0 < value[j - 1] + 0; j--) {
                swap = value[j]; value[j] = value[j - 1]; value[j - 1] = swap
            }
        return (value[int((n + 1) / 2)] + value[int(n / 2) + 1]) / 2
    }
    # The number of the bar of a figure; 0: it has none.
    function bar_of(figure,    i) {
        for (i = 1; i <= bars; i++)
            if (figure ~ "^(" pattern[i] ")$")
                return i
        return 0
    }
    function verdict(b, value) {
        checked++
        if (sense[b] == ">=" ? value >= limit[b] : value <= limit[b])
            return ""
        missed++
        return "MISSED"
    }
    FNR == NR && (/^#/ || /^$/) { next }
    FNR == NR {
        split($0, word, " +")
        sense[++bars] = word[1]
        limit[bars] = word[2] + 0
        pattern[bars] = $0
        sub(/^[<>]= +[0-9.]+ +/, "", pattern[bars])
        next
    }
    {
        sub(/^bench_/, "", $1)
        key = $1 ": " $2 ($3 == "" ? "" : ", " $3)
        if (!(key in figures)) {
            order[++count] = key
            program[key] = $1; name[key] = $2; peer[key] = $3; unit[key] = $6 == "x" ? "" : $6
        }
        figures[key] = figures[key] " " $5
    }
    END {
        for (i = 1; i <= count; i++) {
            key = order[i]
            if (program[key] != last) {
                last = program[key]
                printf "\n%-40s %-24s %8s       %7s\n", last, "against", "figure", "bar"
            }
            value = median(figures[key])
            b = bar_of(key)
            seen[b] = 1
            printf "%-40s %-24s %8." (unit[key] == "calls" ? "0" : "2") "f %-5s", name[key],
                peer[key], value, unit[key]
            if (b)
                printf " %s %-5s %s", sense[b], limit[b], verdict(b, value)
            print ""
        }
        print ""
        for (i = 1; i <= bars; i++)
            if (!(i in seen))
                print "no figure for the bar: " sense[i] " " limit[i] " " pattern[i]
        printf "%d of %d figures that have a bar miss it\n", missed, checked
    }' "$(dirname "$0")/../bench/bars.txt" "$1"
