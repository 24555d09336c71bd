# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# A tag that the kernel keeps beside a frame is in the frame again, byte for byte, when the engine
# gets it: the learnt rule is that of the frame with its tag inside.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/line.sh
. /tests/line.sh

# WORD...: the line of the rule that the engine learns from a frame.
rule_of() {
    forget_rules
    hook_call kind=0 "$@" >/tmp/call
    echo "show flow_rule" >/proc/gpon_flow/debug
    dmesg | sed -n 's/^\[ *[0-9.]*\] //; /02:00:00:00:00:01/p' | tail -n 1
}

load_both
provision_line
rm -f /tmp/tag_rules
seen=0
for tpid in 0x8100 0x88a8; do
    for tci in "pbit=0 vid=1" "pbit=5 vid=100" "pbit=7 dei=1 vid=4095" "pbit=0 dei=1 vid=0"; do
        # shellcheck disable=SC2086 # two or three words
        inside=$(rule_of tpid=$tpid $tci)
        # shellcheck disable=SC2086 # two or three words
        beside=$(rule_of tpid=$tpid $tci beside=1)
        [ -n "$inside" ] || fail "no rule from a frame with $tpid, $tci"
        expect "rule of $tpid, $tci" "$inside" "$beside"
        echo "$inside" | grep -q "${tpid#0x}" || fail "$tpid is not in its rule: $inside"
        echo "$inside" >>/tmp/tag_rules
        seen=$((seen + 1))
    done
done
expect "different rules" $seen "$(sort -u /tmp/tag_rules | wc -l)"
grep -q a064 /tmp/tag_rules || fail "priority 5, VLAN 100 is no tag a064"
echo "@@ $seen tags beside their frames"
unload_both
