# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Files that are open at an unload: an open device keeps the module, an open proc file does not, and
# fails afterwards.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

load_both
exec 3<>/dev/gpon_flow
rmmod gpon_flow 2>/tmp/said && fail "the module was unloaded with its device open"
exec 3>&-

exec 4<>/proc/gpon_flow/debug
rmmod gpon_flow || fail "an open proc file keeps the module"
echo "show en_flag" >&4 && fail "a write reaches an unloaded module"
cat <&4 && fail "a read reaches an unloaded module"
[ ! -e /proc/gpon_flow ] || fail "the proc directory outlives the module"
cat /dev/gpon_flow && fail "the device opens without the module"

# The old file is still open when the module is loaded again.
load_gpon_flow
echo "show en_flag" >&4 && fail "an old file reaches the new module"
exec 4>&-
unload_both
