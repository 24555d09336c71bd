#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: command_line_test.sh GPONFLOW
#
# The command line of the tool: arguments, exit status, standard output and standard error.
set -eu
# shellcheck source=tests/tool/proof.sh
. "$(dirname "$0")/proof.sh"

expect_out() { # TEXT
    [ "$(cat out)" = "$1" ] || complain "standard output is not '$1' but '$(cat out)'"
}

expect_err() { # TEXT
    [ "$(cat err)" = "$1" ] || complain "standard error is not '$1' but '$(cat err)'"
}

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

# A capture is used as far as it reaches, and one without a frame is no silent success.
tool_with_input() { # FILE STATUS ARGUMENT...
    local input=$1 expected=$2 status=0
    shift 2
    "$tool" "$@" <"$input" >out 2>err || status=$?
    [ "$status" = "$expected" ] || complain "gponflow $* <$input: exit status $status, not $expected"
}
whole=$root/captures/upstream-uni2.pcap
head -c 5000 "$whole" >cut.pcap
head -c 24 "$whole" >empty.pcap
expect_status 0 account "$line" --uni 2 --pcap "$whole"
cp out passed
grep -q '^upstream, from the bridge to the ANI: 62 frames' out || complain 'account counts no capture'
tool_with_input "$whole" 0 account "$line" --uni 2 --pcap -
cmp -s out passed || complain 'a capture from standard input is counted otherwise'
for words in 'account' 'report -o cut.html'; do
    # shellcheck disable=SC2086 # words
    expect_status 1 $words "$line" --uni 2 --pcap cut.pcap
    grep -q '^cut.pcap: warning: ends early, used up to there: frame 23: ' err ||
        complain "gponflow $words: no warning of a capture that ends early"
    # shellcheck disable=SC2086 # words
    expect_status 1 $words "$line" --uni 2 --pcap empty.pcap
    grep -q '^empty.pcap: warning: no Ethernet frame in it$' err ||
        complain "gponflow $words: no warning of an empty capture"
    # shellcheck disable=SC2086 # words
    expect_status 1 ${words% -o*} "$line" --uni 2 --pcap cut.pcap --json
    grep -q '^ *"cut.pcap: ends early, used up to there: frame 23: ' out ||
        complain "gponflow $words --json: no note of a capture that ends early"
done
expect_status 1 account "$line" --uni 2 --pcap empty.pcap
grep -qx 'gponflow: warning: no frame to count: the capture of --pcap has none' err ||
    complain 'account asks for a capture although one is named'

# The position of an option does not matter.
for words in "$line --uni 2 --pcap $whole" "--pcap $whole $line --uni 2" "--uni 2 --pcap $whole $line"; do
    # shellcheck disable=SC2086 # words
    expect_status 0 account $words
    cmp -s out passed || complain "gponflow account $words: other counts"
    # shellcheck disable=SC2086 # words
    expect_status 0 report -o order.html $words
done
expect_status 0 account --pcap "$whole" --uni 2 --pcap "$whole" "$line"
grep -q '^upstream, from the bridge to the ANI: 124 frames' out || complain 'account takes one --pcap only'
expect_status 1 account held.scn
expect_err 'gponflow: warning: no frame to count: name a capture with --pcap'
tool_with_input "$whole" 0 explain "$line" kind=up_ani --pcap - --frame 2
tool_with_input cut.pcap 2 explain "$line" kind=up_ani --pcap - --frame 23
grep -q '^gponflow: standard input: no frame 23, it has 22 frames; ends early' err ||
    complain 'explain does not say that the capture ends before the frame'
expect_status 0 explain "$line" kind=up_ani --pcap "$whole" --frame 22
cp out passed
expect_status 0 explain "$line" kind=up_ani --pcap cut.pcap --frame 22
cmp -s out passed || complain 'explain traces a frame before the end of a cut capture otherwise'
tool_with_input "$whole" 0 report "$line" --uni 2 --pcap - --json
[ "$(sed -n 's/^ *"frames": //p' out | head -n 4 | tr -d '\n')" = 62,62,0,0, ] ||
    complain 'report counts a capture from standard input otherwise'
tool_with_input held.scn 2 account - --pcap -
grep -q 'standard input is named for two inputs' err || complain 'standard input is read twice'
tool_with_input "$whole" 0 graph "$line" --highlight kind=up_ani --pcap -
printf 'pcap cut.pcap kind=up_ani\n' >cut.scn
expect_status 1 run cut.scn
grep -q "^cut.scn:1: warning: capture 'cut.pcap': ends early" err ||
    complain 'run does not warn of a capture that ends early'

# Files of another kind are refused as a whole, with what to do.
expect_status 2 run "$whole"
expect_err "$whole: is a capture, not a scenario: convert OMCI messages with gponflow omci FILE -o line.scn, name traffic with --pcap"
expect_status 2 check "$whole"
expect_err "$whole: no OMCI message in 62 frames
$whole: a capture of traffic is no line: name it with --pcap (explain, account, graph, report)"
head -c 100000 "$tool" >binary.scn
expect_status 2 run binary.scn
expect_err 'binary.scn: is no scenario: it is no text'
expect_status 2 run "$line" --backend=x
printf 'hook kind=sideways\n' >kind.scn
expect_status 2 run kind.scn
grep -q 'up_uni, up_ani, down_ani, down_uni, switch' err || complain 'the kinds are not listed'

# One question from the UNI to the GEM port, and back.
expect_status 0 explain "$line" --uni 2 --vlan 300 --prio 6
grep -q '^The frame passes from UNI 2 through bridge 2 to GEM port 1050 ' out ||
    complain 'explain does not follow a frame to its GEM port'
expect_status 0 explain "$line" --gem 4094 --vlan 400p4 --dst 01:00:5e:00:00:01
grep -q '^The frame passes from GEM port 4094 into bridge 3' out ||
    complain 'explain does not follow a frame from its GEM port'
expect_status 0 explain "$line" --uni 1 --vlan 7
grep -q 'VLAN_TAG_FILTER_DATA 0x1001 of bridge 1 .* passes only VLAN 100, VLAN 200; the frame has VLAN 7' \
    out || complain 'explain does not name the filter at fault'
cat >same.scn <<'SCENARIO'
load
hook kind=switch param=1
me create MAC_BRIDGE_SERVICE_PROFILE 1
me create MAC_BRIDGE_PORT_CON_DATA 0x0101 bridgeID=1 tpType=1 tpPointer=0x0101
me create MAC_BRIDGE_PORT_CON_DATA 0x0102 bridgeID=1 tpType=11 tpPointer=0x0201
SCENARIO
other='VIRTUAL_ETHERNET_INTERFACE_POINT 0x0201'
expect_status 0 explain same.scn --uni 1
grep -q "^$other has the number of PPTP_ETHERNET_UNI 0x0101, which the module takes" out ||
    complain 'explain does not name the other UNI with the number'
grep -q '^  PPTP_ETHERNET_UNI 0x0101' out || complain 'the module takes another UNI'
echo 'me delete PPTP_ETHERNET_UNI 0x0101' >>same.scn
expect_status 0 explain same.scn --uni 1
grep -q "^  $other" out || complain 'explain does not take the other UNI'
grep -q 'has the number of' out && complain 'explain names a UNI that is not there'
expect_status 2 explain "$line" --uni 9
grep -q 'UNI 9 does not exist: the UNIs of the line are 1 ' err || complain 'an unknown UNI is not named'
expect_status 2 explain "$line" --gem 7
grep -q 'no GEM_PORT_CTP has the GEM port 7' err || complain 'an unknown GEM port is not named'
expect_status 2 explain "$line" --pcap "$whole"
grep -q 'add --uni' err || complain 'explain does not ask for --uni'
for words in '--uni 16' '--vlan 4096' '--vlan 1p8' '--prio 8' '--uni 1 --prio 1' '--dscp 64' \
    '--uni 1 --gem 1025' '--uni 1 --src 02' '--uni 1 --vlan 1 --pcap x' '--uni 1 kind=up_ani' \
    '--uni 1 --inner 5' '--uni 1 --ethertype 5'; do
    # shellcheck disable=SC2086 # words
    expect_status 2 explain "$line" $words
    [ -s err ] || complain "explain $words: not a word about what is wrong"
done

# The line may be a capture of OMCI messages: the message at fault is named by its frame.
bring_up=$root/docs/cookbook/bring-up.pcap
expect_status 0 explain "$bring_up" --uni 2 --pcap "$root/docs/cookbook/lost.pcap"
grep -qF "VLAN_TAG_FILTER_DATA 0x2001 is written in $bring_up, frame 41, response 42." out ||
    complain 'explain does not name the OMCI message at fault'
expect_status 0 graph "$bring_up"
expect_status 0 show me --class VLAN_TAG_FILTER_DATA "$bring_up"
expect_status 0 report "$bring_up" --uni 2 --pcap "$root/docs/cookbook/lost.pcap" -o bring-up.html

# Traffic enters at a UNI or a GEM port, as the frame of explain: the same words if there is none.
for words in '--uni 9' '--gem 7' ''; do
    # shellcheck disable=SC2086 # words
    expect_status 2 explain "$line" $words --pcap "$whole"
    cp err wanted
    for command in account 'report -o none.html'; do
        # shellcheck disable=SC2086 # words
        expect_status 2 $command "$line" $words --pcap "$whole"
        cmp -s err wanted || complain "gponflow $command $words: other words than those of explain"
    done
done
[ ! -e none.html ] || complain 'report writes a page without an entry of the frames'
for words in '--uni 1' '--gem 1025' "--uni 1 --gem 1025 --pcap $whole" "--uni 16 --pcap $whole" \
    "--uni 1 --pcap $whole,kind=up_ani"; do
    for command in account report; do
        # shellcheck disable=SC2086 # words
        expect_status 2 $command "$line" $words
        [ -s err ] || complain "gponflow $command $words: not a word about what is wrong"
    done
done
expect_status 0 account "$line" --gem 1050 --pcap "$root/captures/downstream-unicast.pcap"
grep -q '^downstream, from the ANI to the bridge: 174 frames' out ||
    complain 'account --gem does not send the frames from the OLT'
one_uni=$root/docs/cookbook/priorities.scn
assumed='The frames enter at UNI 1, the only UNI with a bridge port: neither --uni nor --gem names their entry.'
expect_status 0 account "$one_uni" --pcap "$root/captures/upstream-uni1.pcap"
[ "$(head -n 1 out)" = "$assumed" ] || complain 'account does not name the UNI that it assumes'
sed 1d out >wanted
expect_status 0 account "$one_uni" --uni 1 --pcap "$root/captures/upstream-uni1.pcap"
cmp -s out wanted || complain 'account counts other frames for the UNI that it assumes'
for command in account report; do
    expect_status 0 $command "$one_uni" --json --pcap "$root/captures/upstream-uni1.pcap"
    grep -qF "\"$assumed\"" out || complain "gponflow $command --json: no note of the assumed UNI"
done
expect_status 0 report "$one_uni" --pcap "$root/captures/upstream-uni1.pcap" -o one.html
grep -q 'The frames enter at UNI 1' one.html || complain 'the page does not name the assumed UNI'
grep -q '<dt>frames</dt><dd>183</dd>' one.html || complain 'the page counts a frame twice'
# An unload at the end is left out.
{ cat "$one_uni" && echo unload; } >unload.scn
expect_status 0 account unload.scn --uni 1 --pcap "$root/captures/upstream-uni1.pcap"
cmp -s out wanted || complain 'account counts other frames after an unload'

# OMCI messages are no traffic.
for command in account 'report -o omci.html'; do
    # shellcheck disable=SC2086 # words
    expect_status 0 $command "$line" --uni 1 --pcap "$bring_up"
    expect_err "$bring_up: warning: 42 of 42 frames are OMCI messages (type 0x88b5), not traffic: a capture of OMCI messages is a line (FILE)"
    # shellcheck disable=SC2086 # words
    expect_status 0 ${command% -o*} "$line" --uni 1 --pcap "$bring_up" --json
    grep -q '^ *".*bring-up.pcap: 42 of 42 frames are OMCI messages' out ||
        complain "gponflow $command --json: no note of OMCI messages"
done
expect_status 0 explain "$line" --uni 1 --pcap "$bring_up"
grep -q '^The frame is an OMCI message ' out || complain 'explain does not name an OMCI message'
head -c 3000 "$bring_up" >bring-up-cut.pcap
expect_status 1 graph bring-up-cut.pcap
grep -q 'ends early' err || complain 'graph does not say that the capture ends early'
expect_status 1 explain bring-up-cut.pcap --uni 2 --vlan 5

# Two lines are compared.
expect_status 0 omci "$bring_up" -o converted.scn
expect_status 0 omci --diff converted.scn "$bring_up"
expect_out '0 instances only in the first, 0 instances only in the second, 0 attributes changed'
sed 's/forwardOperation=0x14/forwardOperation=0x10/' converted.scn >changed.scn
expect_status 1 omci --diff "$bring_up" changed.scn
grep -q '^~ VLAN_TAG_FILTER_DATA 0x2001 forwardOperation: 20 -> 16$' out ||
    complain 'omci --diff does not show the attribute'
for words in "--json --diff $bring_up changed.scn" "--diff --json $bring_up changed.scn" \
    "--diff $bring_up --json changed.scn" "$bring_up changed.scn --diff --json"; do
    # shellcheck disable=SC2086 # words
    expect_status 1 omci $words
    grep -q '"schema": "gponflow-diff-1"' out || complain "gponflow omci $words: no differences"
done
expect_status 2 omci --diff "$bring_up"
expect_status 2 omci --diff "$bring_up" missing
expect_status 0 omci --summary "$bring_up"
grep -q '^requests        21, of these 21 answered, 0 repeated, 0 unanswered$' out ||
    complain 'omci --summary does not count the requests'
grep -q '^  GEM port 1050  GEM_PORT_CTP 0x0003' out || complain 'omci --summary shows no GEM port'

# What the module shows of itself, after a scenario.
expect_status 0 show status "$line"
grep -q '^instances  50$' out || complain 'show status does not count the instances'
expect_status 0 show me --class gem_port_ctp --instance 0x0001 "$line"
[ "$(tail -n 1 out)" = '1 instance' ] || complain 'show me does not choose by class and instance'
expect_status 0 show rules --json "$line"
grep -q '"rules": \[\]$' out || complain 'show rules --json of no rules has no empty array'
expect_status 2 show
expect_status 2 show rules --json --table "$line"
expect_status 2 show rules --backend=host
expect_err 'gponflow: --backend=host needs a scenario: the module in this process starts empty'
expect_status 2 show me --class GEM_PORT_TP "$line"
grep -qF "(did you mean 'GEM_PORT_CTP'?)" err || complain 'no word is suggested for a class'
expect_status 2 show me --instance 0x10000 "$line"
expect_status 2 show me missing.scn
expect_status 3 show rules held.scn
expect_err 'gponflow: the module is not loaded: neither its proc entry nor its character device exists'
expect_status 0 show status --json held.scn
grep -q '"loaded": false' out || complain 'show status does not say that nothing is loaded'

# What an operator's commands write to the proc entry.
expect_lines() { # TEXT ARGUMENT...
    local text=$1
    shift
    expect_status 0 "$@" --dry-run
    expect_out "$text"
}
expect_lines 'set enable 1' set enable on
expect_lines 'set enable 0' set enable off
expect_lines 'set debug_level 5' set debug-level errors,traces
expect_lines 'set debug_level 10' set debug-level 0x10
expect_lines 'set debug_level 0' set debug-level none
expect_lines 'set trace disable' set trace off
expect_lines $'set trace disable\nset trace dst_mac 02:00:00:00:00:01\nset trace inner_vlan 8292' \
    set trace inner_vlan=100p1 dst_mac=02-00-00-00-00-01
expect_lines 'clean flow_rule 0 0' clean rules
expect_lines 'clean flow_rule -385168848 2' clean rules --hash 0xe90aca30 --index 2
expect_lines 'clean raw_data' clean me --all
expect_lines 'clean raw_data 84 1001' clean me vlan_tag_filter_data 0x1001
expect_status 0 set --dry-run enable on
expect_out 'set enable 1'
expect_status 0 set enable --dry-run on
expect_out 'set enable 1'
expect_status 0 clean --dry-run me --all
expect_out 'clean raw_data'
for words in 'set' 'set --dry-run' 'set enable' 'set enable maybe' 'set debug-level loud' 'set trace' \
    'set trace src_mac=02:00' 'set trace outer_vlan=65536' 'set trace outer_vlan=4096p1' \
    'set trace outer_vlan=1 outer_vlan=2' 'clean' 'clean rules --index 1' 'clean rules --hash 0' \
    'clean me' 'clean me 84' 'clean me 84 1 --all' 'clean me 9999 1'; do
    # shellcheck disable=SC2086 # words
    expect_status 2 $words
    [ -s err ] || complain "gponflow $words: not a word about what is wrong"
done

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

# Frames of a scenario that match a filter, and rules over time.
expect_status 0 trace 'outer_vlan=101' "$root/scenarios/tour.scn"
grep -q '^3 of 6 frames match the filter$' out || complain 'trace does not count the frames'
grep -q $'\033' out && complain 'colours go to a file'
grep -qF 'outer_vlan=101 matches priority 0 only (outer_vlan=101p5: priority 5)' err ||
    complain 'trace does not say that a VLAN without priority means priority 0'
expect_status 0 trace 'outer_vlan=101p0' "$root/scenarios/tour.scn"
expect_err ''
expect_status 2 trace 'outer_vlan=4096' "$root/scenarios/tour.scn"
expect_status 0 trace 'outer_vlan=0x65' "$root/scenarios/tour.scn"
for number in 0 x 99999999999; do
    expect_status 2 trace 'outer_vlan=101p0' "$root/scenarios/tour.scn" --count "$number"
    grep -q '0[.]0\|UINT\|INT' err && complain "--count $number: a number or type of a library"
done
expect_status 2 trace
expect_status 2 trace 'vlan=101' "$line"
expect_status 2 trace 'outer_vlan=101' missing.scn
expect_status 3 trace 'outer_vlan=101' refused.scn
expect_status 0 watch --once held.scn
grep -q '^0 rules$' out || complain 'watch of no rules does not say so'
expect_status 2 watch --interval 0
expect_status 2 watch missing.scn
expect_status 2 explain
expect_status 2 explain held.scn
expect_status 2 explain "$line" kind=up_ani
expect_status 2 explain "$line" kind=up_ani frame=0
for number in -1 0 184 x; do
    expect_status 2 explain "$line" kind=up_ani --pcap "$root/captures/upstream-uni1.pcap" \
        --frame "$number"
    [ -s err ] || complain "frame $number of 183: not a word about it"
done
expect_status 3 explain refused.scn kind=up_ani frame=00
expect_status 0 explain "$line" kind=up_ani frame=0200000000010200000001028100006508004500
grep -q '^dropped$' out || complain 'explain does not report a drop'

# Drawings: DOT by itself, pictures by graphviz where it is there.
expect_bold() { # NODE ARGUMENT...
    local node=$1
    shift
    expect_status 0 graph "$line" "$@"
    grep -q "^  \"$node\" .*penwidth" out || complain "gponflow graph $*: $node is not bold"
}
expect_bold 'GEM_PORT_CTP 0x0001' --highlight kind=up_ani,frame=0200000000010200000001018100006408004500
expect_err ''
expect_bold 'GEM_PORT_CTP 0x0006' --highlight kind=up_ani \
    --pcap "$root/captures/upstream-uni2.pcap" --frame 1
expect_bold 'MAC_BRIDGE_PORT_CON_DATA 0x1001' \
    --highlight kind=up_ani,frame=0200000000010200000001018100006508004500
expect_err 'gponflow: the frame is dropped: its path is highlighted up to the drop'
expect_status 2 graph "$line" --pcap "$root/captures/upstream-uni2.pcap"
expect_status 2 graph "$line" --highlight kind=up_ani --pcap missing.pcap
expect_bold 'GEM_PORT_CTP 0x0005' --uni 2 --vlan 300 --prio 6
grep -q '^  "PPTP_ETHERNET_UNI 0x0102" .*penwidth' out || complain 'graph --uni does not begin at the UNI'
expect_bold 'MULTICAST_GEM_INTERWORK_TP 0x0061' --gem 4094 --vlan 400p4 --dst 01:00:5e:00:00:01
expect_bold 'GEM_PORT_CTP 0x0006' --uni 2 --pcap "$root/captures/upstream-uni2.pcap" --frame 1
expect_bold 'MAC_BRIDGE_PORT_CON_DATA 0x1001' --uni 1 --vlan 7
expect_err 'gponflow: the frame is dropped: its path is highlighted up to the drop'
expect_status 2 graph "$line" --uni 9
expect_status 2 graph "$line" --uni 1 --highlight kind=up_ani
expect_err 'gponflow: --highlight and --uni, --gem and the fields of a frame exclude each other
Run with --help for more information.'
# VLAN 666 is discarded at the UNI.
{
    cat "$line"
    printf 'tagging VLAN_TAG_EXTEND_OPERATE 1 association=2 associated=0x0101 rows=default\n'
    printf 'tagging VLAN_TAG_EXTEND_OPERATE 1 row=f8000000814d0000c00f0000000f0000\n'
} >discarding.scn
expect_status 0 graph discarding.scn --uni 1 --vlan 666
expect_err 'gponflow: a tagging operation discards the frame: its path is highlighted up to the drop'
for node in 'VLAN_TAG_EXTEND_OPERATE 0x0001' 'PPTP_ETHERNET_UNI 0x0101'; do
    grep -q "^  \"$node\" .*penwidth" out || complain "graph of a discarded frame: $node is not bold"
done
printf 'me create GEM_INTERWORK_TP 0x11 gemCTPInstID=7\n' >dangling.scn
expect_status 0 graph dangling.scn
grep -q 'color=red' out || complain 'graph draws what is missing in another colour'
expect_status 2 graph dangling.scn -o picture.bmp
expect_status 2 graph dangling.scn -o missing/picture.dot
if command -v dot >/dev/null; then
    expect_status 0 graph dangling.scn -o picture.svg
    grep -q '<svg' picture.svg || complain 'the SVG is none'
    expect_status 0 graph dangling.scn -o picture.png
    [ "$(head -c 4 picture.png | tail -c 3)" = PNG ] || complain 'the PNG is none'
fi
status=0
PATH=/nowhere "$tool" graph dangling.scn -o never.svg >out 2>err </dev/null || status=$?
[ "$status" = 2 ] || complain "graph without graphviz: exit status $status"
grep -q 'install graphviz' err || complain 'graph does not say that graphviz is missing'

exit "$failed"
