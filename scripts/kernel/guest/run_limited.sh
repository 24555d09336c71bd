# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# A test with a time limit.

# NAME: prints a line for each minute of a test, with the progress that the test reports.
report_progress() {
    minutes=0
    while sleep 60; do
        minutes=$((minutes + 1))
        echo "@@ running $1 for $minutes min: $(cat /tmp/progress 2>/dev/null)"
    done
}

# NAME SECONDS OUTPUT: runs a test in a process group of its own, and ends the whole group: after a
# time-out its programs would otherwise keep the device open.
run_limited() {
    rm -f /tmp/progress
    report_progress "$1" &
    reporter=$!
    setsid timeout "$2" sh "/tests/$1.sh" >"$3" 2>&1 </dev/null &
    group=$!
    limited=0
    wait $group || limited=$?
    kill $reporter
    kill -KILL -$group 2>/dev/null
    if [ "$limited" = 143 ]; then
        echo "not finished after $2 s: $(cat /tmp/progress 2>/dev/null)" >>"$3"
    fi
    return "$limited"
}
