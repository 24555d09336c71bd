# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# The queue of a frame follows from the GEM port that gpon_flow chose and from the frame's priority,
# by the table that a user configured. A frame without a row is refused.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/line.sh
. /tests/line.sh

table=/proc/gpon_softonu/queue_mapping

# GEM QUEUE WORD...: the expected GEM port and queue of a frame.
goes_to() {
    wanted="records=1 ret=2 result=0 gem=$1 queue=$2"
    shift 2
    expect "frame with $*" "$wanted" "$(hook_call "$@")"
}

load_softonu unis=2 gem_ports=1025,1026
load_gpon_flow
provision_line
goes_to 1025 0 vid=100 pbit=3
goes_to 1026 0 vid=200 pbit=3

cat >$table <<-'END' || fail "the table was refused"
	clear
	add gem=1025 pbit=3 queue=7
	add gem=1025 pbit=untagged queue=2
	add gem=1026 vid=200 pbit=3 queue=300
	add gem=1026 uni=2 queue=65534
	END
goes_to 1025 7 vid=100 pbit=3
goes_to 1025 2 flags=0
goes_to 1026 300 vid=200 pbit=3
goes_to 1026 300 vid=200 pbit=3 port=2
goes_to 1026 65534 vid=200 pbit=4 port=2
# By the rule that was learnt from the first frame, too.
goes_to 1025 7 vid=100 pbit=3

expect "priority without a row" "records=1 ret=2 result=1 gem=1025 queue=65535" \
    "$(hook_call vid=100 pbit=4)"
expect "UNI without a row" "records=1 ret=2 result=1 gem=1026 queue=65535" \
    "$(hook_call vid=200 pbit=4 port=1)"
echo none >$table
expect "no queue mapping at all" "records=1 ret=2 result=1 gem=1025 queue=65535" \
    "$(hook_call vid=100 pbit=3)"
unload_both
