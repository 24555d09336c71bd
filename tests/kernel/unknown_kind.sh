# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# A hook call of an unknown kind returns, and the kernel log shows its caller.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

# Some architectures print it with a capital letter.
dumps() {
    dmesg | grep -ci 'call trace:'
}

load_both
expect "stack dumps before" 0 "$(dumps)"
expect "kind 5" "records=1 ret=2 result=-1 gem=9 queue=65535" "$(hook_call kind=5 gem=9)"
expect "stack dumps of one call" 1 "$(dumps)"
dmesg | grep -q 'unknown api_data->api_type: 5$' || fail "the kind is not logged"
dmesg | sed -n '/[Cc]all [Tt]race:/,$p' >/tmp/dump
for name in gpon_flow_api_dispatch softonu; do
    grep -q "$name" /tmp/dump || fail "$name is not in the stack dump: $(cat /tmp/dump)"
done
expect "the highest kind" "records=1 ret=2 result=-1 gem=9 queue=65535" \
    "$(hook_call kind=0xffffffff gem=9)"
dmesg | grep -q 'unknown api_data->api_type: -1$' || fail "the highest kind is not logged"
expect "kind 5 without packet" "records=1 ret=2 result=1 gem=0 queue=65535" \
    "$(hook_call kind=5 packet=0)"
expect "stack dumps in all" 2 "$(dumps)"
unload_both
