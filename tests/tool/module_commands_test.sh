#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: module_commands_test.sh GPONFLOW
#
# Commands about a loaded module: its state, what an operator sets, and traced frames.
set -eu
# shellcheck source=tests/tool/proof.sh
. "$(dirname "$0")/proof.sh"

line=$root/scenarios/subscriber-line.scn
printf 'platform queue=0\nproc read\nexpect ret=absent\n' >held.scn
printf 'echo on\nunload\necho never\n' >refused.scn

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

exit "$failed"
