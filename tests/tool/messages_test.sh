#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: messages_test.sh GPONFLOW
#
# The messages for invalid input: each names the word of the user, and none has the words, numbers or
# types of a library.
set -eu
# shellcheck source=tests/tool/proof.sh
. "$(dirname "$0")/proof.sh"
ln -s "$root/scenarios/subscriber-line.scn" line.scn
ln -s "$root/docs/cookbook/lost.pcap" lost.pcap
head -c 30 lost.pcap >short.pcap
: >empty.pcap
printf 'PK\003\004 and so on\n' >archive.scn
yes 'a line of prose' | head -c 200000 >prose.scn
cp prose.scn huge.scn
truncate -s 1T huge.scn

expect_message() { # TEXT ARGUMENT...
    local text=$1
    shift
    expect_status 2 "$@"
    [ "$(head -n 1 err)" = "$text" ] || complain "gponflow $*: not '$text' but '$(head -n 1 err)'"
}

expect_message "gponflow: unknown subcommand 'omcii' (did you mean 'omci'?)" omcii line.scn
expect_message "gponflow: unknown subcommand 'help' (did you mean '--help'?)" help
expect_message "gponflow: unknown subcommand 'x' (one of rules, me, status, --help)" show x
expect_message 'gponflow: a subcommand is missing: one of rules, me, status' show
expect_message "gponflow: unknown option '--mask' (did you mean '--mask-lines'?)" run line.scn --mask
expect_message "gponflow: unknown option '--seconds'" monitor --seconds 1 line.scn
expect_message "gponflow: unexpected argument 'b'" run a b
expect_message 'gponflow: --mask-lines takes no value' run --mask-lines=3 line.scn
expect_message 'gponflow: FILE is missing' check
expect_message 'gponflow: --pcap needs a value (FILE)' explain line.scn --pcap
expect_message 'gponflow: --diff needs 2 FILEs, not 1' omci --diff line.scn
expect_message 'gponflow: --diff needs 2 FILEs, not 3' omci line.scn --diff line.scn line.scn
expect_message 'gponflow: --jobs and --diff exclude each other' omci --diff --jobs 2 line.scn line.scn
expect_message 'gponflow: --onu takes one value, not 2' check --onu a --onu b line.scn
expect_message 'gponflow: --prio and the priority of --vlan exclude each other' \
    explain line.scn --uni 1 --prio 3 --vlan 5p2
expect_message 'gponflow: --frame needs --pcap' explain line.scn --uni 1 --frame 1
expect_message 'gponflow: --pcap and --vlan exclude each other' \
    explain line.scn --uni 1 --pcap lost.pcap --vlan 3
expect_message "gponflow: --backend 'x': not one of host, device" run line.scn --backend x
expect_message "gponflow: --jobs '-1': not a number (decimal, or hexadecimal after 0x)" \
    check --jobs -1 line.scn
expect_message "gponflow: --count '0': out of range 1 to 4294967295" \
    trace outer_vlan=1p0 line.scn --count 0
expect_message "gponflow: --src 'x': not a MAC address (00:11:22:33:44:55)" \
    explain line.scn --uni 1 --src x
expect_message "gponflow: the filter: column 9: src_mac 'x': not a MAC address (02:00:00:00:01:01)" \
    set trace src_mac=x
expect_message "gponflow: the filter: column 1: the filter has no option 'x' \
(one of dst_mac, src_mac, outer_vlan, inner_vlan)" trace x=1 line.scn
expect_message "gponflow: unknown log level 'x' (one of none, errors, warnings, traces, ioctl, all)" \
    set debug-level x
expect_message "gponflow: unknown class 'PPTP' (did you mean 'PPTP_ETHERNET_UNI'?)" \
    show me --class PPTP line.scn
expect_message "gponflow: line.scn: no capture: neither pcap nor pcapng" account line.scn --pcap line.scn
expect_message "gponflow: empty.pcap: too short for a capture" account line.scn --pcap empty.pcap
expect_message "lost.pcap: no OMCI message in 16 frames" explain lost.pcap --uni 1
expect_message 'archive.scn: is no scenario: it is no text' check archive.scn
expect_message 'prose.scn: is no scenario: it begins with no command and no comment' run prose.scn

# A large file of another kind is refused at its first bytes.
before=$(date +%s%N)
expect_message 'huge.scn: is no scenario: it begins with no command and no comment' check huge.scn
[ $(($(date +%s%N) - before)) -lt 1000000000 ] || complain 'a large file is read before it is refused'
rm huge.scn

# One is singular.
printf 'load\nme create VLAN_TAG_FILTER_DATA 1 vlanFilterList=5 vlanFilterNums=1 forwardOperation=0x10\n' \
    >one.scn
printf 'hook kind=up_ani frame=0200000000010200000001018100000508004500\n' >>one.scn
for words in 'run' 'account' 'check --all' 'show rules' 'show me' 'stat' 'monitor' 'watch --once' \
    'trace outer_vlan=5p0' 'omci --diff line.scn'; do
    # shellcheck disable=SC2086 # words
    "$tool" $words one.scn >out 2>&1 || true
    grep -nE '(^|[^0-9.])1 (frames|rules|instances|commands|attributes|problems|notes|warnings)( |$)' \
        out && complain "gponflow $words: one of several"
done

# Every option that takes a value, with none and with values that fit no option.
library='At (Most|Least)|required .* missing|is required|not in \{|not expected|disallowed|terminate called|std::|json\.exception|basic_string|stoi|stoul|not in range|Could not convert|truncated dump|u?int[0-9]*_t|UINT|FLOAT'
options=0
sweep() { # SUBCOMMAND...
    local option value status
    "$tool" "$@" --help >help
    if grep -nE ":\{|(^|[ =])(TEXT|REQUIRED)\\b|(Needs|Excludes): |^  -.*[A-Z]=" help; then
        complain "gponflow $* --help: the notation of a library"
    fi
    while read -r option; do
        [[ " --help --json " != *" $option "* ]] || continue
        for value in '' x -1 1e9 99999999999999999999999 '{' "$(printf 'a\tb')"; do
            options=$((options + 1))
            status=0
            if [ -n "$value" ]; then
                timeout 20 "$tool" "$@" "$option" "$value" >out 2>err </dev/null || status=$?
            else
                timeout 20 "$tool" "$@" "$option" >out 2>err </dev/null || status=$?
            fi
            [ "$status" -le 3 ] || complain "gponflow $* $option '$value': exit status $status"
            [ "$status" = 0 ] || [ -s err ] || complain "gponflow $* $option '$value': no message"
            if grep -qE "$library" err; then
                complain "gponflow $* $option '$value': a library's words: $(head -n 1 err)"
            fi
        done
    done < <(grep -oP '^  (-\w,)?\K--[\w-]+' help)
}
"$tool" --help >top
while read -r command; do
    "$tool" "$command" --help >help
    if grep -q '^Subcommands:' help; then
        while read -r sub; do
            sweep "$command" "$sub"
        done < <(sed -n '/^Subcommands:/,/^$/s/^  \([a-z-]\+\) .*/\1/p' help)
    else
        sweep "$command"
    fi
done < <(sed -n '/^Subcommands:/,/^$/s/^  \([a-z]\+\) .*/\1/p' top)
[ "$options" -gt 200 ] || complain "only $options values were tried"

exit "$failed"
