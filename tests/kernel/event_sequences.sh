# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# The trace events of scenarios in this kernel are those of the process build, in their order and with all
# their printed fields but times and addresses. Left out are scenarios that need a failing service or a
# jump of time, and those that load the module again. event_folders=. on the kernel's command line is
# all of the others, which take two minutes.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/suite.sh
. /tests/suite.sh
# shellcheck source=scripts/kernel/guest/tracing.sh
. /tests/tracing.sh

# FILE: whether it begins with the only load and has nothing that only a process supports.
is_for_this_kernel() {
    [ "$(grep -cE '^[[:blank:]]*load([[:blank:]]|$)' "$1")" = 1 ] &&
        ! is_for_a_process "$1"
}

# The events can be enabled only when the module is loaded: its load, and what is expected of it, is
# left out. The platform keeps the settings of the scenario before.
without_load() {
    echo "platform mapping=0"
    echo "platform queue=0"
    awk '$1 == "unload" { exit } $1 == "load" { skipped = 1 ; next } skipped && $1 == "expect" { next }
        $1 != "" && $1 !~ /^#/ { skipped = 0 } { print }' "$1"
}

# FILE: the events of the running kernel in /tmp/got. The names of captures are relative to the file.
events_in_the_kernel() {
    rest=${1%/*}/rest
    without_load "$1" >"$rest"
    load_gpon_flow
    begin_tracing
    status=0
    gponflow run --backend=device "$rest" >/tmp/printed 2>&1 || status=$?
    end_tracing
    unload_gpon_flow
    sed -n 's/^[^#].*: \(gpon_[a-z_]*: \)/\1/p' /tmp/trace | sed 's/skbaddr=[^ ]* //' >/tmp/got
    return "$status"
}

load_both
if ! has_trace_events; then
    left_out "events of scenarios, this kernel has no trace events"
    unload_both
    exit 0
fi
rmmod gpon_flow
record_no_names
cd /tree || fail "there are no scenarios"
same=0
number=0
scenarios=tests/scenarios
# shellcheck disable=SC2086 # folders
for file in $(find ${event_folders:-$scenarios/walk $scenarios/filter $scenarios/mapper $scenarios/rules} \
    -name '*.scn' | sed 's#^\./##' | sort); do
    is_for_this_kernel "$file" || continue
    progress "$same scenarios equal, now $file"
    gponflow run --events /tmp/wanted "$file" >/tmp/printed 2>&1 ||
        fail "$file in a process: $(tail -n 5 /tmp/printed)"
    events_in_the_kernel "$file" || fail "$file in the kernel: $(tail -n 5 /tmp/printed)"
    cmp -s /tmp/wanted /tmp/got || fail "events of $file: $(diff -U 3 /tmp/wanted /tmp/got | head -n 30)"
    same=$((same + 1))
    number=$((number + $(wc -l </tmp/got)))
done
echo "@@ the $number events of $same scenarios equal those of a process"
[ $same -ge 30 ] || fail "only $same scenarios were run"
[ $number -gt 500 ] || fail "only $number events"
unload_softonu
