# SPDX-License-Identifier: GPL-2.0-only
#
# PROGRAM OUTPUT: runs gpon_loops under callgrind and writes, for each loop, instructions,
# allocations and bytes of one operation as JSON.
set -eu

counts=$(mktemp -d)
trap 'rm -rf "$counts"' EXIT
# Symbols are bound at start, because the first call of a library function would cost more than the
# next. Only the first thread is counted: another one frees memory of earlier commands at any time.
LD_BIND_NOW=1 valgrind --tool=callgrind --instr-atstart=no --separate-threads=yes \
    --callgrind-out-file="$counts/loop" "$1"

# "desc: Trigger: Client Request: NAME OPERATIONS ALLOCATIONS BYTES", then "totals: INSTRUCTIONS".
awk '/^desc: Trigger: Client Request: / { name = $5; operations = $6; allocations = $7; bytes = $8 }
     /^totals: / && name { print name, $2 / operations, allocations, bytes; name = "" }' \
    "$counts"/loop.*-01 |
    jq -Rn --arg compiler "$(g++ -dumpfullversion)" '
        {compiler: $compiler, loops: ([inputs | split(" ")
            | {key: .[0], value: {instructions: (.[1] | tonumber * 10 | round / 10),
                                  allocations: (.[2] | tonumber), bytes: (.[3] | tonumber)}}]
            | sort_by(.key) | from_entries)}' >"$2"
if [ "$(jq '.loops | length' "$2")" = 0 ]; then
    echo "nothing was counted" >&2
    exit 1
fi
