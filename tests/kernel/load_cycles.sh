# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Many loads and unloads: each load creates the device and the proc entry, each unload removes
# them, and no state is left for the next load.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/kernel_log.sh
. /tests/kernel_log.sh

interfaces_are() {
    grep -c ' gpon_flow$' /proc/devices
    find /proc/gpon_flow -name debug 2>/dev/null | wc -l
}

# PART: the kernel log is kept as it is for the search for faults, with marks where its parts begin.
mark() {
    echo "<6>load_cycles $cycle $1" >/dev/kmsg
}

# A file for each part of the log that this cycle has written. The log of all cycles is long, and awk
# is slow under emulation.
split_log() {
    dmesg | tail -n 600 | module_lines | awk -v mark="load_cycles $cycle " '
        {sub(/^\[ *[0-9.]*\] /, "")}
        index($0, mark) == 1 {part = "/tmp/part." $3 ; printf "" >part ; next}
        part {print >part}'
}

ask() {
    echo "$*" >/proc/gpon_flow/debug || fail "cycle $cycle: '$*' is not taken"
}

call() {
    expect "cycle $cycle: a hook call, $1" "records=1 ret=2 result=$2 gem=$3 queue=$4" "$(hook_call)"
}

# It begins as if there had been none before...
begin_life() {
    mark switch
    ask show en_flag
    call "engine off" 0 1025 65535
    mark instances
    ask show raw_data
    ask set enable 1
    mark call
    call "nothing provisioned" 1 0 65535
}

# ... and ends with everything in place that must not outlive it.
live() {
    mark living
    ask set trace dst_mac ff:ff:ff:ff:ff:ff
    omci_calls >/tmp/omci_calls || { cat /tmp/omci_calls; fail "cycle $cycle: no instances"; }
    ask set debug_level 7
    mark traced
    call "VLAN 100 alone is carried" 1 0 65535
    mark changed
    ask show raw_data
}

check_life() {
    rm -f /tmp/part.*
    split_log
    expect "cycle $cycle: the switch" "CURRENT GPON FLOW SWITCH DISABLE
gpon flow is [DISABLE]!" "$(cat /tmp/part.switch)"
    # A level, and a filter that the frame passes, would show here.
    expect "cycle $cycle: trace of a call" "" "$(cat /tmp/part.call)"
    expect "cycle $cycle: a dump" 1 "$(grep -c 'show All ME Raw Data:' /tmp/part.instances)"
    # What is printed for an instance begins with its id.
    expect "cycle $cycle: instances" 0 "$(grep -c '^ *0x' /tmp/part.instances)"
    grep -q gpon_pkt_upstream_ani /tmp/part.traced || fail "cycle $cycle: level 7 traces nothing"
    grep -q '^ *0x' /tmp/part.changed || fail "cycle $cycle: no instance is shown"
}

# In KiB. The counters of a load are 16 KiB for each processor.
percpu_memory() {
    sed -n 's/^Percpu: *\([0-9]*\) kB/\1/p' /proc/meminfo
}

load_softonu unis=2
cycles=${load_cycles:-20}
cycle=0
while [ $cycle -lt "$cycles" ]; do
    progress "cycle $cycle of $cycles"
    load_gpon_flow
    expect "interfaces while loaded" "1 1" "$(interfaces_are | xargs)"
    begin_life
    live
    check_life
    rmmod gpon_flow || fail "cycle $cycle: no unload"
    expect "interfaces after unload" "0 0" "$(interfaces_are | xargs)"
    [ $cycle != 0 ] || held=$(percpu_memory)
    cycle=$((cycle + 1))
done
# The kernel keeps a few free pages: too much for a few cycles.
grown=$(($(percpu_memory) - held))
[ "$cycles" -lt 10 ] || [ $grown -lt $((8 * cycles)) ] ||
    fail "$cycles loads left $grown KiB of memory for each processor"
unload_softonu
