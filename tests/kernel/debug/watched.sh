# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# The detectors watched the preceding tests: many accesses of our modules, and no race; many blocks with
# pages of their own, and no fault.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

counter() { # NAME
    awk -v name="$1:" '$1 == name { print $2 }' /sys/kernel/debug/kcsan
}

watched=$(counter setup_watchpoints)
[ "${watched:-0}" -gt 10000 ] || fail "only '$watched' accesses were watched"
expect "races" 0 "$(counter data_races)"
echo "@@ $watched accesses watched, $(counter data_races) races"

guarded=$(awk '$1 == "total" && $2 == "allocations:" { print $3 }' /sys/kernel/debug/kfence/stats)
[ "${guarded:-0}" -gt 1000 ] || fail "only '$guarded' blocks had pages of their own"
echo "@@ $guarded blocks with pages of their own"
