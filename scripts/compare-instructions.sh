# SPDX-License-Identifier: GPL-2.0-only
#
# BASELINE MEASURED: prints a line for each loop that changed; fails if one takes over 3 % more
# instructions, takes more memory, or is missing.
set -eu

if [ ! -f "$1" ]; then
    echo "there is no baseline $1; ./run bench-check --update makes one" >&2
    exit 1
fi
verdicts=$(jq -rs '
    def percent($old; $now): if $old == 0 then (if $now == 0 then 0 else 100 end)
                              else ($now / $old * 100 - 100) end;
    .[0] as $old | .[1] as $now | ($old.compiler == $now.compiler) as $same
    | (if $same then empty else
        "note: the baseline is of g++ \($old.compiler), this is g++ \($now.compiler): only " +
        "allocations are compared" end),
    ($old.loops | to_entries[] | .key as $name | .value as $was | $now.loops[$name] as $is
     | if $is == null then "\($name): MISSING"
       elif $is.allocations > $was.allocations or $is.bytes > $was.bytes then
         "\($name): \($was.allocations) -> \($is.allocations) allocations, " +
         "\($was.bytes) -> \($is.bytes) bytes MORE"
       elif $same then percent($was.instructions; $is.instructions) as $change
         | if $change > 3 then "\($name): \($was.instructions) -> \($is.instructions) " +
             "instructions, +\($change * 10 | round / 10) % SLOWER"
           elif $change < -3 then "\($name): \($was.instructions) -> \($is.instructions) " +
             "instructions, \($change * 10 | round / 10) % faster: --update keeps it so"
           else empty end
       else empty end),
    ($now.loops | keys[] | select($old.loops[.] == null) | "\(.): new, --update adds it")
    ' "$1" "$2")
[ -z "$verdicts" ] || echo "$verdicts"
if grep -qE ' (MISSING|MORE|SLOWER)$' <<<"$verdicts"; then
    exit 1
fi
echo "$(jq '.loops | length' "$2") loops, none slower than the baseline by more than 3 %"
