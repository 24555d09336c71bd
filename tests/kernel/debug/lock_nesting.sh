# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# The check of lock nesting reports a spinlock that is taken under a raw one: on a kernel with
# PREEMPT_RT it sleeps. The checks of locks stop after this report, so it has a boot of its own.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

detects PROVE_RAW_LOCK_NESTING spinlock_under_raw_lock 'BUG: Invalid wait context'
echo "@@ ${fired:-0} detectors fired"
dmesg -c >/dev/null
