# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# The example scripts of docs/bpftrace with known frames. bpftrace and its libraries have 200 MB, so only
# a guest of GPON_GUEST_TRACERS has it.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/line.sh
. /tests/line.sh

# SCRIPT: starts it and waits until its probes are attached.
start_script() {
    bpftrace "/tests/bpftrace/$1.bt" >"/tmp/$1" 2>&1 &
    tracer=$!
    wait_for "/tmp/$1" Attaching $tracer
    sleep 10
}

# SCRIPT PATTERN COUNT: ends it; so many lines of its result have the pattern.
end_script() {
    kill -INT $tracer
    wait $tracer || fail "$1: $(cat "/tmp/$1")"
    expect "lines of $1 with $2" "$3" "$(grep -cE "$2" "/tmp/$1")"
    echo "@@ note $1: $(grep -E "$2" "/tmp/$1")"
}

if ! command -v bpftrace >/dev/null; then
    left_out "scripts for bpftrace, which this guest does not have"
    exit 0
fi
load_both
provision_line
start_script drops
calls 3 "$dropped"
end_script drops '^@drops\[02:00:00:00:77:01, 1, 2164261364, filtered\]: 3$' 1
start_script walk_time
calls 4 "$dropped"
calls 1 "$passing"
end_script walk_time '^@nanoseconds\[(1, 0|2, 1)\]:' 2
start_script misses
calls 3 "$dropped"
calls 2 "$passing"
end_script misses '^@walked\[02:00:00:00:00:01, 02:00:00:00:77:01, 1, 2164261364\]: 3$' 1
start_script decisions
calls 3 "$dropped"
end_script decisions '^@ended\[47, 1[12], filter_drops\]: 3$' 2
unload_both
