# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# A test that does not end in time is stopped with all of its programs: one that ignores the signal and
# holds the device would keep the module loaded for all later tests.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/run_limited.sh
. /tests/run_limited.sh

# The second instance of this file is the test that does not end.
if [ -n "${endless:-}" ]; then
    (
        trap '' TERM
        exec 3<>/dev/gpon_flow
        echo "$endless" >/tmp/progress
        sleep 600
    ) &
    sleep 600
    exit
fi

load_both
status=0
export endless="holds the device"
run_limited time_limit 5 /tmp/endless || status=$?
expect "status of a test that does not end" 143 "$status"
expect "its last words" "not finished after 5 s: holds the device" "$(tail -n 1 /tmp/endless)"
# A killed process closes its files a moment later.
soon grep -qx 0 /sys/module/gpon_flow/refcnt || fail "its programs hold the device"
unload_both
