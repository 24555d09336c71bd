# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Somebody holds a door open while the module goes: an open device keeps the module, an open proc
# file does not and is dead afterwards.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

load_both
exec 3<>/dev/gpon_flow
rmmod gpon_flow 2>/tmp/said && fail "the module went with its device open"
exec 3>&-

exec 4<>/proc/gpon_flow/debug
rmmod gpon_flow || fail "an open proc file keeps the module"
echo "show en_flag" >&4 && fail "a write reaches a module that is gone"
cat <&4 && fail "a read reaches a module that is gone"
[ ! -e /proc/gpon_flow ] || fail "the proc directory outlives the module"
cat /dev/gpon_flow && fail "the device opens without the module"

# The dead file is still open while a new life of the module begins.
load_gpon_flow
echo "show en_flag" >&4 && fail "an old file reaches the new module"
exec 4>&-
unload_both
