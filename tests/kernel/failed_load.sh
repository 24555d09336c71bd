# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# A kernel service that fails during load: the load fails or continues, as it must; a failed load
# leaves nothing behind, and the next load works.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

# FUNCTION ANSWER: status of a load with that function failing once.
load_with_fault() {
    insmod /modules/gpon_fault.ko function="$1" result="$2" ||
        fail "$1 cannot be made to fail"
    status=0
    load_module /modules/gpon_flow.ko || status=1
    expect "failures of $1" 1 "$(cat /sys/module/gpon_fault/parameters/fired)"
    rmmod gpon_fault
}

nothing_is_left() {
    expect "module after $1 failed" 0 "$(grep -c '^gpon_flow ' /proc/modules)"
    expect "device after $1 failed" 0 "$(grep -c ' gpon_flow$' /proc/devices)"
    [ ! -e /proc/gpon_flow ] || fail "the proc directory outlives a failed load"
}

load_softonu unis=2
for function in proc_mkdir proc_create_data; do
    load_with_fault $function 0
    expect "load with $function failing" 1 "$status"
    nothing_is_left $function
done

# Without its device the module is loaded all the same.
for function in register_chrdev_region cdev_add; do
    load_with_fault $function -12
    expect "load with $function failing" 0 "$status"
    expect "device after $function failed" 0 "$(grep -c ' gpon_flow$' /proc/devices)"
    echo "show en_flag" >/proc/gpon_flow/debug || fail "the proc entry takes no command"
    rmmod gpon_flow || fail "no unload after $function failed"
    nothing_is_left $function
done

load_gpon_flow
unload_both
