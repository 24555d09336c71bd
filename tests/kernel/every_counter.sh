# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Traffic and commands of known composition: every counter has the same value in the process build,
# by netlink, and in each format of gponflow stat. Only a lost race or missing memory counts in those
# that stay 0, which the test rare_counters reaches, and in walks_too_deep, which no graph reaches.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/counters.sh
. /tests/counters.sh
# shellcheck source=scripts/kernel/guest/line.sh
. /tests/line.sh

never=" allocation_failures rules_lost_by_growth rules_no_memory rules_outdated rules_relearnt rules_unchanged table_growths_failed walks_too_deep "

# OPTION [SCENARIO]: lines "NAME VALUE" of gponflow stat, as JSON, as OpenMetrics or as a table.
stat_as() {
    format=$1
    shift
    gponflow stat --"$format" "$@" >/tmp/stat || fail "stat --$format $*: $(cat /tmp/stat)"
    case $format in
    json) sed -n '/"counters"/,/}/s/^ *"\([a-z_]*\)": \([0-9]*\),\{0,1\}$/\1 \2/p' /tmp/stat ;;
    openmetrics) sed -n 's/^gpon_flow_\([a-z_]*\)_total \([0-9]*\)$/\1 \2/p' /tmp/stat ;;
    all) sed -n 's/^\([a-z_][a-z_]*\) *\([0-9][0-9]*\) .*/\1 \2/p' /tmp/stat ;;
    esac
}

same_counters() { # TITLE FILE
    cmp -s /tmp/kernel "$2" || fail "$1 differs from netlink: $(diff /tmp/kernel "$2")"
}

load_both
counted_commands >/tmp/counted.scn
obey /tmp/counted.scn
counters_to /tmp/kernel
[ "$(wc -l </tmp/kernel)" -ge 54 ] || fail "counters are missing: $(cat /tmp/kernel)"
stat_as json >/tmp/json
same_counters "stat --json" /tmp/json
stat_as openmetrics >/tmp/metrics
same_counters "stat --openmetrics" /tmp/metrics
stat_as all >/tmp/table
same_counters "stat --all" /tmp/table
if kernel_has CROSS_MEMORY_ATTACH; then
    { echo load; cat /tmp/counted.scn; } >/tmp/process.scn
    stat_as json /tmp/process.scn >/tmp/process
    same_counters "the process build" /tmp/process
else
    left_out "counters of the process build, which needs CROSS_MEMORY_ATTACH"
fi
while read -r name value; do
    case $never in
    *" $name "*) expect "$name" 0 "$value" ;;
    *) [ "$value" != 0 ] || fail "$name is 0" ;;
    esac
done </tmp/kernel
unload_both
