# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# The interfaces of the soft ONU: the injection device with every shape of packet and
# invalid arguments, and the language of the proc files, which read back as they were written.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

proc=/proc/gpon_softonu

# FILE LINE: the line must be refused, and leave everything as it was.
refused() {
    before=$(cat "$proc/$1")
    if echo "$2" >"$proc/$1"; then
        fail "'$2' was taken by $1"
    fi 2>/dev/null
    expect "$1 after '$2'" "$before" "$(cat "$proc/$1")"
}

bad_lines() {
    for line in "" x none\ 1 "result" "result x" "result 99999999999" "add" "add uni=1" "add gem=" \
        "add gem=4096" "add gem=-1" "add gem=1 gem=2" "add uni=16 gem=1" "add vid=4096 gem=1" \
        "add pbit=8 gem=1" "add uni=untagged gem=1" "add colour=1 gem=1" "add =1 gem=1" "=" \
        "$(head -c 5000 /dev/zero | tr '\0' a)"; do
        [ -z "$line" ] || refused mapping "$line"
    done
    refused queue_mapping "add gem=1"
    refused queue_mapping "add gem=1 queue=65535"
    refused hooks "default"
    refused hooks "default on"
    refused report 2
}

fill_table() {
    rules=0
    echo clear >$proc/mapping
    while [ $rules -lt 64 ]; do
        echo "add uni=1 vid=$rules pbit=untagged gem=$rules" >$proc/mapping || fail "rule $rules"
        rules=$((rules + 1))
    done
    refused mapping "add gem=1"
    cat $proc/mapping >/tmp/mapping
    { echo clear && cat /tmp/mapping; } >/tmp/again
    dd if=/tmp/again of=$proc/mapping bs=4096 2>/dev/null || fail "the table is not taken back"
    expect "the table, written back" "$(cat /tmp/mapping)" "$(cat $proc/mapping)"
}

reports() {
    echo 1 >$proc/report
    softonu_injection >/dev/null
    echo 0 >$proc/report
    dmesg | grep -q 'gpon_softonu: @ gpon_mapping_hook = -1$' || fail "no report of a call"
}

bad_parameters() {
    for words in unis=0 unis=16 gem_ports=0 gem_ports=4096 gem_ports=1,1 "gem_ports=1 multicast_gem_ports=1"; do
        # shellcheck disable=SC2086 # words
        if insmod /modules/gpon_softonu.ko $words 2>/dev/null; then
            fail "loads with $words"
        fi
        [ ! -e /sys/class/net/ani0 ] || fail "a device stays after $words"
    done
    # No room for its devices: nothing of it stays.
    ip link add gem1026 type dummy
    if insmod /modules/gpon_softonu.ko 2>/dev/null; then
        fail "loads though gem1026 is there"
    fi
    [ ! -e /sys/class/net/ani0 ] || fail "a device stays after the failed load"
    ip link del gem1026
}

modprobe dummy
bad_parameters
load_softonu unis=15 gem_ports=1025,1026
expect "mode of the device" 600 "$(stat -c %a /dev/gpon_softonu)"
expect "mode of the mapping" 600 "$(stat -c %a $proc/mapping)"
expect "mapping at first" "table add gem=1025" "$(xargs <$proc/mapping)"
expect "queue mapping at first" "table add queue=0" "$(xargs <$proc/queue_mapping)"
expect "hooks at first" "id 59 priority 0 enable 1 gpon_flow_mapping" "$(cat $proc/hooks)"
printf 'clear\nadd vid=100 gem=1025\nadd gem=1026\n' >$proc/mapping
softonu_injection || fail "the injection device returned a wrong value"
reports
bad_lines
fill_table
echo "default off" >$proc/hooks
expect "hooks without the default" "" "$(cat $proc/hooks)"
echo "default on" >$proc/hooks
for device in /sys/class/net/*; do ip link set "${device##*/}" up; done
unload_softonu
