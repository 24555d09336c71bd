# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Calls of the device that no OMCI stack makes, each answered with the one right error.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

load_both
hostile_control || fail "a hostile call got a wrong answer"
echo "show en_flag" >/proc/gpon_flow/debug || fail "the module does not answer any more"
unload_both
