#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: omci_line_test.sh GPONFLOW
#
# A capture of OMCI messages as a line, and the comparison of two lines.
set -eu
# shellcheck source=tests/tool/proof.sh
. "$(dirname "$0")/proof.sh"

line=$root/scenarios/subscriber-line.scn

# The line may be a capture of OMCI messages: the message at fault is named by its frame.
bring_up=$root/docs/cookbook/bring-up.pcap
expect_status 0 explain "$bring_up" --uni 2 --pcap "$root/docs/cookbook/lost.pcap"
grep -qF "VLAN_TAG_FILTER_DATA 0x2001 is written in $bring_up, frame 41, response 42." out ||
    complain 'explain does not name the OMCI message at fault'
expect_status 0 graph "$bring_up"
expect_status 0 show me --class VLAN_TAG_FILTER_DATA "$bring_up"
expect_status 0 report "$bring_up" --uni 2 --pcap "$root/docs/cookbook/lost.pcap" -o bring-up.html

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

exit "$failed"
