# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# A platform that does not accept the module's hook record would lose every frame: the machine stops,
# so that it restarts with the software that worked before.
#
# panics: Register hook function failed! gpon_flow_init:360
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

load_softonu unis=2
insmod /modules/gpon_fault.ko function=vorn_register_hook result=-17 || fail "no fault to make"
load_module /modules/gpon_flow.ko
fail "the machine continues, status $?"
