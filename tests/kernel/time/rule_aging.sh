# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# The aging timer of the kernel itself: a rule that is not used again outlives the first period,
# which clears its mark, and is deleted in the second. A period is 30000 jiffies, 120 s in this
# kernel. The guest's clock skips idle time.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

rules() {
    echo "show flow_rule" >/proc/gpon_flow/debug
    dmesg | sed -n 's/.*total_num = //p' | tail -n 1
}

# Seconds since the load.
wait_until() {
    sleep $((loaded + $1 - $(cut -d. -f1 /proc/uptime)))
}

learn() {
    obey - <<-END
	hook kind=switch param=1
	hook kind=down_uni frame=0200000000010200000000ff0800
	expect api_result=0
	END
}

load_both
loaded=$(cut -d. -f1 /proc/uptime)
learn
expect "rules at once" 1 "$(rules)"
wait_until 110
expect "rules in the first period" 1 "$(rules)"
wait_until 130
expect "rules after the first sweep" 1 "$(rules)"
wait_until 230
expect "rules in the second period" 1 "$(rules)"
wait_until 250
expect "rules after the second sweep" 0 "$(rules)"
unload_both
echo "@@ $(($(cut -d. -f1 /proc/uptime) - loaded)) s of the guest's time"
