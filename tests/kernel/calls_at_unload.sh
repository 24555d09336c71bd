# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Twenty loads and unloads under hook calls and debug commands: a call that is in the module at an
# unload still returns.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

load_both
unload_gpon_flow
calls_at_unload /modules/gpon_flow.ko 20 || fail "a wrong result, or no race took place"
[ ! -d /sys/module/gpon_flow ] || fail "the module is still there"
unload_softonu
