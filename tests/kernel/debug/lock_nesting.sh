# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# The checks of locks were active during the preceding tests: a report about any lock turns them off. A
# spinlock that is taken under a raw one is still reported; on a kernel with PREEMPT_RT it sleeps.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/detectors.sh
. /tests/detectors.sh

expect "lock checks after the tests" 1 "$(lock_checks)"
fires spinlock_under_raw_lock 'BUG: Invalid wait context'
expect "lock checks after a report" 0 "$(lock_checks)"
echo "@@ $fired detector fired"
dmesg -c >/dev/null
