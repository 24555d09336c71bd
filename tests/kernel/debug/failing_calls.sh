# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Each allocation and each copy of loads, commands and hook calls fails once, one after the other.
# Afterwards the modules return the same results as before, and a failed call leaks nothing.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/detectors.sh
. /tests/detectors.sh

# Every request for memory may fail. Neither the log nor the console has a line for each.
dmesg -n 1
for kind in $(fault_kinds); do
    echo 0 >/sys/kernel/debug/"$kind"/verbose
done
if ! kernel_has FAILSLAB; then
    left_out "failing calls, this kernel has no FAILSLAB"
    exit 0
fi
echo N >/sys/kernel/debug/failslab/ignore-gfp-wait
echo N >/sys/kernel/debug/fail_page_alloc/ignore-gfp-wait
echo 0 >/sys/kernel/debug/fail_page_alloc/min-order

load_softonu unis=2
failing_calls load /modules/gpon_flow.ko gpon_flow || fail "gpon_flow.ko"
load_gpon_flow
failing_calls commands || fail "commands"
failing_calls hooks || fail "hook calls"
unload_both
