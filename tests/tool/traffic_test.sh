#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: traffic_test.sh GPONFLOW
#
# Captures as the traffic of a command: where the frames enter, and captures that end early.
set -eu
# shellcheck source=tests/tool/proof.sh
. "$(dirname "$0")/proof.sh"

line=$root/scenarios/subscriber-line.scn
printf 'platform queue=0\nproc read\nexpect ret=absent\n' >held.scn

# A capture is used as far as it reaches, and one without a frame is no silent success.
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

exit "$failed"
