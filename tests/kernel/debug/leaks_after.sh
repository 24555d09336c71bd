# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Everything has been loaded, used and unloaded in this boot: nothing leaked, and the detectors
# still work.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/detectors.sh
. /tests/detectors.sh

expect "our modules" 0 "$(grep -c '^gpon_' /proc/modules)"
scan_for_leaks >/tmp/leaks
[ ! -s /tmp/leaks ] || fail "lost: $(head -n 100 /tmp/leaks)"
expect "lock checks" 1 "$(lock_checks)"
insmod /modules/gpon_detect.ko fault=leak || fail "nothing can be leaked"
scan_for_leaks | grep -q gpon_detect || fail "leaks are not found any more"
rmmod gpon_detect
dmesg -c >/dev/null
echo clear >/sys/kernel/debug/kmemleak
