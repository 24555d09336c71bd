# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# The checks of locks and of RCU report deliberate faults. They stop after the first report about a
# lock and after a report of any other detector, so they have a boot of their own and the lock is
# last.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/detectors.sh
. /tests/detectors.sh

expect "lock checks at first" 1 "$(lock_checks)"
detects PROVE_RCU pointer_outside_read_section 'WARNING: suspicious RCU usage'
detects PROVE_RCU_LIST list_outside_read_section 'RCU-list traversed in non-reader section'
detects PROVE_RCU sleep_in_read_section \
    'Illegal context switch in RCU read-side critical section|BUG: sleeping function'
detects PROVE_LOCKING lock_order 'possible circular locking dependency detected'
expect "lock checks after a report" 0 "$(lock_checks)"
echo "@@ $fired detectors fired"
dmesg -c >/dev/null
