#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: line_inputs_test.sh GPONFLOW
#
# Each command that takes a line takes it as a scenario and as a capture of OMCI messages, of each
# format, from a file, a pipe and standard input.
set -eu
# shellcheck source=tests/tool/proof.sh
. "$(dirname "$0")/proof.sh"

bring_up=$root/docs/cookbook/bring-up.pcap
lost=$root/docs/cookbook/lost.pcap
python3 "$root/tests/tool/line_inputs.py" "$bring_up" "$lost"
expect_status 0 omci "$bring_up" -o line.scn

without_places='s/ is written in .*/ is written/; /^ *set in /d'

# FROM: the output of a command, with the scenario's name for that of the line. A capture is named in
# the output, and has a frame where the text of a scenario has a line.
with_one_name() {
    sed -e "s,$1,line.scn,g" -e "$without_places" out
}

# ARGUMENT...: with INPUT for the line
same_for_each_input() {
    local input expected
    expect_status "$@"
    expected=$1
    shift
    with_one_name line.scn >wanted
    for input in "$bring_up" sll.pcap sll2.pcap new.pcapng; do
        expect_status "$expected" "${@/line.scn/$input}"
        with_one_name "$input" | cmp -s - wanted ||
            complain "gponflow $*: another output for $input"
        status=0
        "$tool" "${@/line.scn/-}" <"$input" >out 2>err || status=$?
        [ "$status" = "$expected" ] || complain "gponflow $*: status $status for $input by stdin"
        sed -e 's,^-:,line.scn:,; s, -:, line.scn:,' -e "$without_places" out |
            cmp -s - wanted ||
            complain "gponflow $*: another output for $input from standard input"
    done
    status=0
    "$tool" "${@/line.scn//dev/fd/3}" 3< <(cat "$bring_up") >out 2>err || status=$?
    with_one_name /dev/fd/3 | cmp -s - wanted || complain "gponflow $*: not from a pipe"
}
same_for_each_input 0 check line.scn
same_for_each_input 0 account line.scn --uni 2 --pcap "$lost"
same_for_each_input 0 graph line.scn
same_for_each_input 0 explain line.scn --uni 2 --pcap "$lost"
same_for_each_input 0 show me line.scn
cp line.scn same.scn
same_for_each_input 0 omci --diff same.scn line.scn

# A difference between a capture and a scenario is none.
expect_status 0 omci --diff "$bring_up" line.scn
expect_status 0 omci --diff new.pcapng sll2.pcap

# Several ONUs: each command chooses one.
for words in 'check two.pcap' "account two.pcap --uni 2 --pcap $lost" 'omci two.pcap' \
    'omci --summary two.pcap' 'graph two.pcap' "explain two.pcap --uni 2 --pcap $lost" \
    'show me two.pcap' 'stat two.pcap' 'watch --once two.pcap' 'monitor two.pcap' \
    'trace outer_vlan=300 two.pcap' 'report two.pcap -o page.html'; do
    # shellcheck disable=SC2086 # words
    expect_status 2 $words
    grep -q 'messages of 2 ONUs (02:00:00:00:00:02, 02:00:00:00:00:09): choose one of them with --onu' \
        err || complain "gponflow $words: does not name the ONUs"
    # shellcheck disable=SC2086 # words
    expect_status 0 $words --onu 02:00:00:00:00:09
done
expect_status 0 graph line.scn
cp out of_scenario
expect_status 0 graph two.pcap --onu 02:00:00:00:00:09
cmp -s out of_scenario || complain 'gponflow graph --onu: another drawing'
expect_status 0 omci --diff two.pcap line.scn --onu 02:00:00:00:00:09
expect_status 2 check two.pcap --onu 02:00:00:00:00
grep -q 'not a MAC address' err || complain 'a wrong address is accepted'
expect_status 2 check two.pcap "$bring_up"
[ "$(grep -c '"schema":"gponflow-line-1"' out)" = 2 ] || complain 'an input has no line'
[ "$(grep -o 'two.pcap: messages' out | wc -l)" = 1 ] || complain 'the input is named twice'
grep -q 'choose one of them with --onu' out || complain 'the line of an input does not name --onu'
expect_status 0 omci two.pcap two.pcap --onu 02:00:00:00:00:09

# A capture of one direction: each request counts as carried out, with a warning.
for words in check omci 'omci --summary' 'omci --diff line.scn'; do
    # shellcheck disable=SC2086 # words
    expect_status 0 $words requests.pcap
    [ "$(cat err)" = 'requests.pcap: warning: 21 commands of the OLT have no response in the capture: taken as carried out' ] ||
        complain "gponflow $words: no warning of requests without a response: $(cat err)"
done

# A capture with a snapshot length: tags and the length on the wire are known, the rest is not.
expect_status 0 account line.scn --uni 2 --pcap "$lost"
cp out whole
expect_status 0 account line.scn --uni 2 --pcap sliced.pcap
cmp -s out whole || complain 'gponflow account: a sliced capture has other outcomes'
grep -q '^sliced.pcap: warning: 16 of 16 frames end in the capture' err ||
    complain 'gponflow account: no warning of a sliced capture'
expect_status 0 explain line.scn --uni 2 --pcap sliced.pcap
grep -q '^The capture holds 18 of the 298 bytes of the frame' out ||
    complain 'gponflow explain: no note of a sliced frame'
octets() { sed -n 's/^ *"octets": \([0-9]*\),$/\1/p' out | awk '{ sum += $1 } END { print sum }'; }
expect_status 0 report line.scn --json --uni 2 --pcap "$lost"
whole=$(octets)
expect_status 0 report line.scn --json --uni 2 --pcap sliced.pcap
[ "$(octets)" = "$whole" ] || complain 'gponflow report: other octets for a sliced capture'

# Nothing is known about the VLAN of a frame that ends before its tag.
expect_status 0 account line.scn --uni 2 --pcap no-tags.pcap
grep -q '^  not classified    16  its tags are not in the capture$' out ||
    complain 'gponflow account: frames without their tags have an outcome'
[ "$(grep -c '  passed\|  dropped' out)" = 0 ] || complain 'a frame without its tags has an outcome'
expect_status 0 report line.scn --json --uni 2 --pcap no-tags.pcap
grep -q '"text": "its tags are not in the capture"' out ||
    complain 'gponflow report: frames without their tags have an outcome'
for words in '--uni 2' 'kind=up_ani'; do
    # shellcheck disable=SC2086 # words
    expect_status 0 explain line.scn $words --pcap no-tags.pcap
    grep -q 'not classified: its tags are not in the capture' out ||
        complain "gponflow explain $words: a frame without its tags has an outcome"
done

# The format of captured traffic makes no difference, but a cooked header has no destination.
same_but_for() { # NAME: the file wanted is that of $lost
    sed -e "s,$1,$lost,g" -e "s,${1##*/},${lost##*/},g" -e '/"destination":/d' out | diff -q - wanted
}
for words in 'account line.scn --uni 2' 'account line.scn --uni 2 --json' \
    'report line.scn --uni 2 --json' 'report line.scn --gem 1050 --json' \
    'explain line.scn --uni 2 --json --frame 3'; do
    # shellcheck disable=SC2086 # words
    expect_status 0 $words --pcap "$lost"
    sed '/"destination":/d' out >wanted
    for input in traffic-sll.pcap traffic-sll2.pcap traffic.pcapng; do
        # shellcheck disable=SC2086 # words
        expect_status 0 $words --pcap $input
        same_but_for $input >/dev/null || complain "gponflow $words: another output for $input"
        status=0
        # shellcheck disable=SC2086 # words
        "$tool" $words --pcap - <$input >out 2>err || status=$?
        [ "$status" = 0 ] || complain "gponflow $words: status $status for $input by stdin"
        sed 's,"first": "-,"first": "'"$input"',; s,^    "-"$,    "'"$input"'",' out >named
        mv named out
        same_but_for $input >/dev/null || complain "gponflow $words: another output of stdin"
    done
done

# Nothing usable is no success.
: >empty
for words in check account graph 'report -o page.html' 'omci --diff line.scn'; do
    # shellcheck disable=SC2086 # words
    expect_status 1 $words empty
    grep -q '^empty: warning: no command: the line is empty$' err ||
        complain "gponflow $words: no warning of an empty file"
done
# To run nothing is no fault: a scenario need not have a command.
for file in empty comment.scn; do
    printf '# A comment.\n' >comment.scn
    expect_status 0 run "$file"
    [ ! -s out ] || complain "gponflow run $file: a transcript of no command"
    grep -qx "$file: warning: no command: the scenario is empty" err ||
        complain "gponflow run $file: no warning"
done
expect_status 2 omci empty
expect_status 2 explain empty --uni 1

# Up to its end, a capture that was cut is used, with a warning.
head -c 2000 "$bring_up" >cut.pcap
for words in check graph 'report -o page.html' omci 'omci --summary' 'omci --diff line.scn'; do
    # shellcheck disable=SC2086 # words
    expect_status 1 $words cut.pcap
    grep -q '^cut.pcap: warning: ends early, frame ' err ||
        complain "gponflow $words: no warning of a capture that ends early"
done

exit "$failed"
