# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Reads and writes of the proc entry during its removal, which is delayed here: the record of an entry
# is freed after the entry. Freed memory is overwritten (slub_debug), so a call that reads a freed
# record stops the kernel.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

grep -qE '(slub|slab)_debug=[A-Z]*P' /proc/cmdline || [ -e /sys/kernel/debug/kmemleak ] ||
    fail "freed memory is not overwritten"

keep_calling() {
    while [ ! -e /tmp/stop ]; do
        echo "show en_flag" >/proc/gpon_flow/debug
        cat /proc/gpon_flow/debug
    done >/dev/null 2>&1
}

load_both
insmod /modules/gpon_delay.ko function=remove_proc_subtree ms=50 || fail "no delay"
rm -f /tmp/stop
keep_calling &
keep_calling &
keep_calling &
for round in 1 2 3 4 5 6 7 8; do
    unload_gpon_flow
    load_gpon_flow
done
touch /tmp/stop
wait
delayed=$(cat /sys/module/gpon_delay/parameters/delayed)
[ "$delayed" -ge 8 ] || fail "$delayed removals were late in $round unloads"
rmmod gpon_delay
unload_both
