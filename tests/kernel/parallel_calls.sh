# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Commands, operators and packets at the same time on two processors, and then an unload.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

load_both
parallel_calls "${parallel_seconds:-8}" || fail "a call returned an unknown value"
unload_both
