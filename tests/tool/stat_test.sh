#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: stat_test.sh GPONFLOW
#
# stat and monitor for a scenario with frames of known composition, and without a module.
set -eu
# shellcheck source=tests/tool/proof.sh
. "$(dirname "$0")/proof.sh"

expect_line() { # LINE
    grep -qxF -- "$1" out || complain "there is no line '$1'"
}

# Commands that configure the line, then five frames of a flow and three that a filter drops.
grep -v '^\(hook\|expect\|proc\|unload\)' "$root/scenarios/tour.scn" >known.scn
{
    echo 'proc write "set enable 1"'
    for _ in 1 2 3 4 5; do
        echo 'hook kind=up_ani frame=02000000000102000000010181000065080045000000000000'
    done
    for _ in 1 2 3; do
        echo 'hook kind=up_ani frame=02000000000102000000010281000066080045000000000000'
    done
} >>known.scn

expect_status 0 stat --json known.scn
for counted in calls_up_ani=8 calls_up_uni=0 frames_passed=5 frames_failed=3 remembered_up_ani=3 \
    replays=1 walks=4 walks_done=1 walks_filtered=3 rules_learnt=1 outcomes_remembered=1 \
    me_create_done=6 me_set_done=1 operator_commands=1 flushes_by_command=7; do
    grep -qF "\"${counted%=*}\": ${counted#*=}" out || complain "stat --json is not $counted"
done
grep -qF '"rules": 1,' out || complain 'stat --json does not have one rule'

expect_status 0 stat known.scn
grep -qE '^walks_filtered +3 ' out || complain 'stat has no walks_filtered'
! grep -q '^calls_up_uni' out || complain 'stat prints a counter that is 0'
expect_line '1 rule in 64 buckets, engine enabled'
expect_status 0 stat --all known.scn
grep -qE '^calls_up_uni +0 ' out || complain 'stat --all leaves out a counter'

expect_status 0 stat --openmetrics known.scn
expect_line 'gpon_flow_frames_failed_total 3'
expect_line '# TYPE gpon_flow_frames_failed counter'
expect_line 'gpon_flow_rules 1'
[ "$(tail -n 1 out)" = '# EOF' ] || complain 'the OpenMetrics text has no end'
[ "$(grep -c '^# TYPE' out)" = "$(grep -vc '^#' out)" ] || complain 'a metric has no type'

expect_status 0 monitor known.scn
[ "$(grep -c '^learnt ' out)" = 1 ] || complain 'monitor does not print one learnt rule'
expect_line 'created  GEM_PORT_CTP 0x0001'
expect_status 0 monitor --count 2 known.scn
[ "$(wc -l <out)" = 2 ] || complain 'monitor --count 2 does not print two changes'

# The reader of the output has stopped: the command blocks in a write, and a signal still ends it. Nobody reads
# the pipe, in which there is space for a few updates.
mkfifo stopped_reader
exec 5<>stopped_reader
head -c 53248 /dev/zero >&5
"$tool" stat --all --interval 1 known.scn >&5 2>messages &
writer=$!
tries=0
until grep -q pipe "/proc/$writer/wchan"; do
    tries=$((tries + 1))
    if [ $tries = 300 ] || ! kill -0 $writer; then
        complain 'stat --interval does not block in a write'
        break
    fi
    sleep 0.2
done
kill -TERM $writer
(sleep 20 && kill -KILL $writer) &
killer=$!
status=0
wait $writer || status=$?
kill $killer
[ $status = 3 ] || complain "the status of a command that blocks in a write is $status after a signal"
grep -q 'cannot write to standard output' messages || complain "no message of the blocked write: $(cat messages)"
exec 5>&-

expect_status 2 stat --openmetrics --interval 1 known.scn
expect_status 2 stat --interval 0
expect_status 2 stat missing.scn
expect_status 2 monitor missing.scn
expect_status 2 monitor --count 0
expect_status 2 stat --backend=host
if [ ! -e /sys/module/gpon_flow ]; then
    for command in stat monitor 'show rules' 'watch --once'; do
        # shellcheck disable=SC2086 # words
        expect_status 3 $command
        grep -qF 'the module is not loaded' err || complain "$command does not name the reason"
    done
    expect_status 0 show status
fi
exit "$failed"
