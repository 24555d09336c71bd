# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# The platform's own record beside gpon_flow's: the lower priority number is called first, and a
# result other than 0 ends the call.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

proc=/proc/gpon_softonu
own="id 59 priority 0 enable 1 gpon_flow_mapping"
engine="id 59 priority 1 enable 1 gpon_flow_api_dispatch"

load_both
expect "records of a loaded module" "$engine" "$(cat $proc/hooks)"
expect "a call of one record" "records=1 ret=2 result=0 gem=1025 queue=65535" "$(hook_call)"
echo "default on" >$proc/hooks || fail "the platform's record is not registered again"
expect "both records" "$own
$engine" "$(cat $proc/hooks)"
echo "default on" >$proc/hooks && fail "the platform's record is there twice"
expect "a call of both records" "records=2 ret=2 result=0 gem=1025 queue=65535" "$(hook_call)"
echo "result -1" >$proc/mapping
expect "the first record refuses" "records=1 ret=2 result=1 gem=0 queue=65535" "$(hook_call)"
expect "a kind that it lets through" "records=2 ret=2 result=0 gem=7 queue=65535" \
    "$(hook_call kind=3 gem=7)"
expect "a kind that only the second refuses" "records=2 ret=2 result=-1 gem=7 queue=65535" \
    "$(hook_call kind=5 gem=7)"
echo "default off" >$proc/hooks
expect "the module's record alone" "$engine" "$(cat $proc/hooks)"
expect "the mapping refuses the module too" "records=1 ret=2 result=1 gem=0 queue=65535" \
    "$(hook_call)"
unload_gpon_flow
expect "a call without a hook" "records=0 ret=0 result=0 gem=0 queue=65535" "$(hook_call)"
unload_softonu
