# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Nothing of the module runs after its removal: the machine survives the aging period after a failed
# load and after an unload.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

load_softonu unis=2
insmod /modules/gpon_fault.ko function=proc_create_data result=0
load_module /modules/gpon_flow.ko && fail "the load does not fail"
rmmod gpon_fault
sleep 260
load_gpon_flow
unload_gpon_flow
sleep 260
unload_softonu
