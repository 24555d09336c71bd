#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: command_line_test.sh GPONFLOW
#
# The command line of the tool: arguments, exit status, standard output and standard error.
set -eu
# shellcheck source=tests/tool/proof.sh
. "$(dirname "$0")/proof.sh"

expect_help() { # TEXT
    grep -qF -- "$1" out || complain "the help lacks '$1'"
}

printf 'platform queue=0\nproc read\nexpect ret=absent\n' >held.scn
expect_status 0 run held.scn
expect_out $'> platform queue=0\n> proc read\n= proc absent\n> expect ret=absent'
expect_err ''

printf 'proc read\nexpect ret=0\necho on\n' >unheld.scn
expect_status 1 run unheld.scn
expect_out $'> proc read\n= proc absent\n> expect ret=0\n! expected ret=0, got absent\n> echo on\non'
expect_err ''

printf 'echo never\n\nlaod\n' >faulty.scn
expect_status 2 run faulty.scn
expect_out ''
expect_err "faulty.scn:3: column 1: unknown command 'laod' (did you mean 'load'?)"

expect_status 2 run missing.scn
expect_out ''
expect_err 'missing.scn: No such file or directory'

expect_status 2 run .
expect_err '.: Is a directory'
expect_status 2 run /dev/zero
expect_err '/dev/zero: longer than 256 MiB'

printf 'echo never\npcap missing.pcap kind=0\n' >capture.scn
expect_status 2 run capture.scn
expect_out ''
expect_err "capture.scn:2: cannot read the capture 'missing.pcap': No such file or directory"

printf 'echo on\nunload\necho never\n' >refused.scn
expect_status 3 run refused.scn
expect_out $'> echo on\non\n> unload'
expect_err 'refused.scn:2: the module is not loaded'

status=0
"$tool" run - >out 2>err < <(printf 'echo on\nx') || status=$?
[ "$status" = 2 ] || complain "a faulty scenario from standard input: exit status $status"
expect_err "-:2: column 1: unknown command 'x'"
"$tool" run - >out 2>err <held.scn || complain 'a scenario from standard input fails'

status=0
"$tool" run held.scn >/dev/full 2>err || status=$?
[ "$status" = 3 ] || complain "a full disk: exit status $status"
expect_err 'gponflow: cannot write the transcript to standard output'

# A partial output must not pass for a complete one.
expect_full_disk() { # ARGUMENT...
    local status=0
    "$tool" "$@" >/dev/full 2>err </dev/null || status=$?
    [ "$status" = 3 ] || complain "gponflow $* on a full disk: exit status $status"
    grep -q 'cannot' err || complain "gponflow $* on a full disk: not a word about it"
}
line=$root/scenarios/subscriber-line.scn
expect_full_disk check "$line"
expect_full_disk check --json "$line"
expect_full_disk graph "$line"
expect_full_disk account "$root/scenarios/tour.scn"
expect_full_disk explain "$line" kind=up_ani frame=0200000000010200000001018100006508004500
expect_full_disk report "$line" -o -
expect_full_disk omci "$root/docs/cookbook/bring-up.pcap" -o -
expect_full_disk show rules "$line"
expect_full_disk watch --once "$line"
expect_full_disk trace outer_vlan=101 "$root/scenarios/tour.scn"
expect_full_disk completion
expect_full_disk set --dry-run enable on

expect_status 2
expect_status 2 run
expect_status 2 run --backend=elsewhere held.scn
expect_status 2 run held.scn held.scn
expect_status 2 fly

expect_status 0 --version
expect_status 0 --help
expect_help 'gponflow run --mask-lines'
expect_help 'Exit status'
expect_status 0 run --help
expect_help '--backend'
expect_help 'hook kind=switch param=1'

# The example that the help shows is a scenario that runs.
sed -n '/^  load /,/^  unload/p' out >help.scn
sed -i 's/   .*//' help.scn
grep -q '^  unload' help.scn || complain 'the help shows no scenario'
expect_status 0 run help.scn

printf 'load\ndebug set debug_level 7\nme create 45 1\n' >log.scn
expect_status 0 run --mask-lines log.scn
grep -q '^| .*\[gpon_flow_me_handle\]\[0\]' out || complain 'line numbers are not masked'
expect_status 0 run log.scn
grep -q '^| .*\[gpon_flow_me_handle\]\[[1-9]' out || complain 'line numbers are masked unasked'

# The trace events of a scenario, in the form of tracefs.
printf 'load\nhook kind=switch param=1\nhook kind=down_uni port=1 frame=0200000000010200000000020800\nproc write "show  enable"\n' >events.scn
expect_status 0 run events.scn --events events.txt
cat >wanted.txt <<'END'
gpon_walk_start: direction=down_uni dst=02:00:00:00:00:01 src=02:00:00:00:00:02 tags=0 outer_tag=0x00000000 inner_tag=0x00000000
gpon_walk_end: direction=down_uni dst=02:00:00:00:00:01 src=02:00:00:00:00:02 tags=0 outer_tag=0x00000000 inner_tag=0x00000000 reason=passed gem_port=0
gpon_rule_learn: direction=down_uni dst=02:00:00:00:00:01 src=02:00:00:00:00:02 tags=0 outer_tag=0x00000000 inner_tag=0x00000000 result=added
gpon_command: kind=operator msg_type=0 class_id=0 inst_id=0x0000 attr_mask=0x0000 result=12 text="show enable"
END
cmp -s wanted.txt events.txt || complain "other trace events: $(diff wanted.txt events.txt)"
expect_status 3 run events.scn --events /dev/full
expect_err 'gponflow: cannot write the trace events to /dev/full'
expect_status 3 run events.scn --events /nowhere/events.txt
expect_status 3 run --backend=device events.scn --events events.txt
expect_err 'gponflow: only the module in this process passes on its trace events; those of a kernel are in tracefs'

expect_status 2 run "$line" --backend=x
printf 'hook kind=sideways\n' >kind.scn
expect_status 2 run kind.scn
grep -q 'up_uni, up_ani, down_ani, down_uni, switch' err || complain 'the kinds are not listed'

# For a mistyped word the nearest known one is printed.
expect_hint() { # WORD ARGUMENT...
    local word=$1
    shift
    expect_status 2 "$@"
    grep -qF "(did you mean '$word'?)" err || complain "gponflow $*: '$word' is not suggested"
}
expect_hint show shwo
expect_err "gponflow: unknown subcommand 'shwo' (did you mean 'show'?)
Run with --help for more information."
expect_status 2 show ruels
grep -qF "unknown subcommand 'ruels' (did you mean 'rules'?)" err || complain 'no word for show ruels'
expect_hint rules show ruels
expect_hint --mask-lines run --mask-line held.scn
expect_hint src_mac set trace src_mca=02:00:00:00:01:01
expect_hint traces set debug-level trace

exit "$failed"
