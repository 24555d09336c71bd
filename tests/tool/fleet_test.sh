#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: fleet_test.sh GPONFLOW
#
# check, omci and account for many inputs, with generated captures.
set -eu
# shellcheck source=tests/tool/proof.sh
. "$(dirname "$0")/proof.sh"

expect_count() { # COUNT TEXT
    local found
    found=$(grep -cF -- "$2" out || true)
    [ "$found" = "$1" ] || complain "$found lines with '$2', not $1"
}

python3 "$root/docs/fleet/generate-lines.py" lines 210
python3 "$root/docs/fleet/generate-lines.py" again 210
sed 's/^again/lines/' again/list | cmp - lines/list || complain 'the list differs'
diff -r -x list lines again || complain 'the same seed gives other captures'

# The lines do not depend on the number of processes, and their order is that of the inputs. The first
# run searches for leaks; names on the command line are among the broken inputs below.
expect_status 1 check --jobs 1 --files lines/list
cp out one
without_leak_search expect_status 1 check --jobs 4 --files lines/list
cmp -s one out || complain 'the output depends on the number of processes'
[ "$(grep -oP '"input":"\K[^"]+' out | diff - lines/list | wc -l)" = 0 ] ||
    complain 'the lines are not in the order of the inputs'
without_leak_search expect_status 1 check lines/*.pcap
cmp -s one out || complain 'names on the command line and in a list differ'
status=0
without_leak_search "$tool" check --files - <lines/list >out || status=$?
[ "$status" = 1 ] || complain "a list from standard input: exit status $status"
cmp -s one out || complain 'a list from standard input differs'
status=0
head -n 2 lines/list | "$tool" check --files - >out || status=$? # searches for leaks
[ "$status" = 0 ] || complain "two lines from standard input: exit status $status"
head -n 2 one | cmp -s - out || complain 'two lines from standard input differ'

# Standard input is one of the inputs, once.
status=0
"$tool" check lines/line-00001.pcap - - <lines/line-00002.pcap >out || status=$?
[ "$status" = 2 ] || complain "standard input for two inputs: exit status $status"
sed -n 2p out | sed 's#"-"#"lines/line-00002.pcap"#g' >second
sed -n 2p one | diff - second || complain 'a line from standard input differs'
sed -n 3p out | grep -q 'standard input is named for two inputs' ||
    complain 'standard input for two inputs is not refused'
cp one out

# The faults of the lines: two captures are damaged, one is empty, and the firmware 2.1.0 alone
# refuses instances.
expect_count 210 '"schema":"gponflow-line-1"'
expect_count 2 'ends early, frame '
expect_count 1 'no command: the line is empty'
refused=$(grep -c 'priority-leads-nowhere' out)
[ "$refused" -gt 4 ] || complain "only $refused lines have a refused instance"
if grep 'priority-leads-nowhere' out | grep -qv '"firmware":"2.1.0"'; then
    complain 'a line with the old firmware has a refused instance'
fi
first=$(grep -oP '"firmware":"2.1.0".*?"from":"\K[^T]+' out | sort | head -n 1)
[ "$first" = 2026-09-12 ] || complain "the new firmware is in use since '$first'"

# A line is the same alone and among others.
expect_status 0 check --json lines/line-00001.pcap
python3 - one out <<'EOF' || complain 'a line alone differs from the line among others'
import json, sys
many = json.loads(open(sys.argv[1]).readline())
sys.exit(many["document"] != json.load(open(sys.argv[2])))
EOF

# Traffic for all lines: a frame of VLAN 100 passes on all lines that have no fault there. The empty
# line has no UNI.
expect_status 2 account --files lines/list --uni 1 --pcap "$root/captures/upstream-uni1.pcap" --jobs 2
expect_count 210 '"command":"account"'
[ "$(grep -c 'GEM port 1025 from bridge 1' out)" -gt 150 ] || complain 'frames do not pass'
expect_status 2 omci --files lines/list # one is no capture
[ "$(grep -c '"firmware":"2.1.0"' out)" -gt 60 ] || complain 'omci does not print the firmware'

# Broken inputs of all kinds are lines with their error.
mkfifo pipe
head -c 3000 "$tool" >binary.scn
expect_status 2 check lines/line-00001.pcap pipe missing.pcap . binary.scn "$root/README.md" \
    /dev/zero "$root/captures/upstream-uni1.pcap" no/line.pcap lines/line-00002.pcap
[ "$(grep -oP '"status":\K\d' out | tr -d '\n')" = 0222222220 ] || complain 'a status is wrong'
expect_count 3 'not a regular file"'
expect_count 2 'No such file'

# Memory does not grow with the number of inputs. The documents of omci have 7 KB: were they kept,
# 840 would take 6 MB. Under the address sanitizer freed memory is kept, here at most 1 MB.
most_memory() { # LIST
    ASAN_OPTIONS=${ASAN_OPTIONS:+$ASAN_OPTIONS:}quarantine_size_mb=1 \
        without_leak_search python3 -c '
import resource, subprocess, sys
subprocess.run(sys.argv[1:], stdout=subprocess.DEVNULL, check=False)
print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)' "$tool" omci --jobs 2 --files "$1"
}
head -n 50 lines/list >short
for _ in 1 2 3 4; do cat lines/list; done >long
few=$(most_memory short)
many=$(most_memory long)
[ "$many" -lt $((few + 3000)) ] || complain "$many KiB for 840 lines, $few KiB for 50"

exit "$failed"
