# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Functions of the guest tests. busybox's shell runs them as root in a virtual machine.

# The shell prefers its own applets to programs in the path.
ip() { /sbin/ip "$@"; }
tc() { /sbin/tc "$@"; }

# Each of these in the kernel log counts as a fault. The modules' own level tags look like **WARNING**
# and do not match.
kernel_faults='WARNING: |BUG: |BUG at |BUG [a-zA-Z0-9_-]+ \(|Oops|INFO: |general protection|Unable to handle'
kernel_faults="$kernel_faults|KASAN|UBSAN|ODEBUG|kmemleak: [0-9]|[Ll]eaking|corruption"
kernel_faults="$kernel_faults|refcount_t|while atomic|page allocation failure|usercopy: "
kernel_faults="$kernel_faults|unregister_netdevice|soft lockup|Kernel panic|circular locking"
kernel_faults="$kernel_faults|\[#[0-9]+\]|Internal error|CFI failure|suspiciously returned"

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

# Races without an access of our modules are those of the kernel itself. Each report is between two
# lines of "=".
without_foreign_races() {
    if [ ! -e /sys/kernel/debug/kcsan ]; then
        cat "$1"
        return
    fi
    awk '
        /={60}/ && !inside { inside = 1 ; text = "" ; race = ours = 0 ; next }
        /={60}/ { if (!race || ours) printf "%s", text ; inside = 0 ; next }
        !inside { print ; next }
        { text = text $0 "\n" }
        /BUG: KCSAN/ { race = 1 }
        /\[gpon_/ { ours = 1 }
        END { if (inside) printf "%s", text }' "$1"
}

# 5.4 walks the list of its probes without a lock when the first module is loaded, and reports it. The
# report ends with the call trace, whose lines are indented. Each kernel warns if it has no memory for
# the fields of a module's trace events, which it requests itself while it loads the module. Few logs
# contain these reports, and awk is slow. A guest has no Python.
without_known_reports() {
    if ! grep -qE ' (kprobes_module_callback|event_define_fields)\+' "$1"; then
        cat "$1"
        return
    fi
    awk '
        function finish() {
            if (kept !~ /^[^\n]*WARNING: CPU: | kprobes_module_callback\+/ || kept ~ /\[gpon_/)
                printf "%s", kept
            kept = "" ; trace = 0
        }
        { text = $0 ; sub(/^\[ *[0-9.]+\] /, "", text) }
        trace && text !~ /^ / { finish() }
        !kept && text != "WARNING: suspicious RCU usage" &&
            text !~ /^WARNING: CPU: .* at kernel\/trace\/.* event_define_fields\+/ { print ; next }
        { kept = kept $0 "\n" }
        text ~ /^Call [Tt]race:/ { trace = 1 }
        END { finish() }' "$1"
}

own_reports() {
    without_foreign_races "$1" >/tmp/reports
    without_known_reports /tmp/reports
}

kernel_log_is_clean() {
    ! own_reports "$1" | grep -qE "$kernel_faults"
}

# The reports with the lines after each, or the end of the log if there is none.
kernel_log_faults() {
    own_reports "$1" | grep -E -A 40 "$kernel_faults" || tail -n 40 "$1"
}

# The module's lines of a log: lines of the kernel begin with the name of a part of it and a colon.
module_lines() {
    tr -d '\r' | awk '
        { text = $0 ; sub(/^\[ *[0-9.]+\] /, "", text) }
        text ~ /^gpon/ || text !~ /^[A-Za-z][A-Za-z0-9_.-]*: /'
}

module_log() {
    dmesg | module_lines
}

# TEXT: how far a long test is.
progress() {
    echo "$*" >/tmp/progress
}

# OPTION: whether the kernel was built with it. The configuration is that of its build folder.
kernel_has() {
    grep -qE "^CONFIG_$1=[ym1]" /tests/config
}

kernel_since() { # MAJOR MINOR
    running=$(uname -r)
    minor=${running#*.}
    minor=${minor%%[!0-9]*}
    [ "${running%%.*}" -gt "$1" ] || { [ "${running%%.*}" -eq "$1" ] && [ "$minor" -ge "$2" ]; }
}

left_out() {
    echo "@@ left out: $*"
}

fail() {
    echo "FAILED: $*"
    exit 1
}

# expect NAME WANTED GOT
expect() {
    [ "$2" = "$3" ] || fail "$1: expected '$2', got '$3'"
}

# FILE TEXT PROCESS: until the file of a process that runs has the text.
wait_for() {
    tries=0
    until grep -q "$2" "$1" 2>/dev/null; do
        kill -0 "$3" 2>/dev/null || fail "no '$2', the process has ended: $(cat "$1")"
        tries=$((tries + 1))
        [ $tries -lt 150 ] || fail "no '$2': $(cat "$1")"
        sleep 0.2
    done
}

# With module parameters.
load_softonu() {
    insmod /modules/gpon_softonu.ko "$@" || fail "gpon_softonu.ko does not load"
}

load_gpon_flow() {
    insmod /modules/gpon_flow.ko || fail "gpon_flow.ko does not load"
    if [ ! -c /dev/gpon_flow ]; then
        mknod -m 0600 /dev/gpon_flow c 184 0
    fi
}

load_both() {
    load_softonu unis=2
    load_gpon_flow
}

unload_both() {
    rmmod gpon_flow || fail "gpon_flow does not unload"
    rmmod gpon_softonu || fail "gpon_softonu does not unload"
}

# fires FAULT PATTERN: causes a deliberate fault; its report must be in the log, and the check of the
# log must find it.
fires() {
    # A report of a hundred lines takes a second on the serial line.
    dmesg -n 1
    dmesg -c >/dev/null
    insmod /modules/gpon_detect.ko fault="$1" || fail "the fault $1 cannot be made"
    rmmod gpon_detect
    dmesg -c >/tmp/report
    grep -qE "$2" /tmp/report || fail "no report of $1: $(tail -n 40 /tmp/report)"
    ! kernel_log_is_clean /tmp/report || fail "the check of the log does not see $1"
    fired=$((${fired:-0} + 1))
}

# detects OPTION FAULT PATTERN: the same, if the kernel has the option.
detects() {
    if kernel_has "$1"; then
        fires "$2" "$3"
    else
        left_out "$2, this kernel has no $1"
    fi
}

# The kernel's services that can be made to fail.
fault_kinds() {
    for kind in failslab fail_page_alloc fail_usercopy; do
        if [ -d /sys/kernel/debug/$kind ]; then
            echo $kind
        else
            left_out "failures of $kind, which this kernel does not have" >&2
        fi
    done
}

# Unreferenced blocks, after two scans: a scan skips blocks that are new or have just changed.
scan_for_leaks() {
    sleep 6
    for scan in 1 2; do
        echo scan >/sys/kernel/debug/kmemleak || fail "no scan number $scan for leaks"
        sleep 1
    done
    cat /sys/kernel/debug/kmemleak
}

# Frames of the line of tests/kernel/traffic/provision.scn: one that passes, and one that a filter drops.
# shellcheck disable=SC2034 # for the tests
passing="hook kind=up_uni port=1 frame=02000000000102000000770108004500000000000000000000000000000000"
# shellcheck disable=SC2034
dropped="hook kind=up_ani frame=020000000001020000007701810001f408004500"

# Creates the line of tests/kernel/traffic/provision.scn.
provision_line() {
    gponflow run --backend=device /tests/traffic/provision.scn >/tmp/printed 2>&1 ||
        { cat /tmp/printed; fail "no provisioning"; }
}

# COUNT LINE: as many calls of the hook.
calls() {
    yes "$2" | head -n "$1" >/tmp/calls.scn
    gponflow run --backend=device /tmp/calls.scn >/tmp/printed 2>&1 ||
        { cat /tmp/printed; fail "no hook calls"; }
}

# FIRST LAST: a first frame of each of these flows.
first_frames() {
    awk -v first="$1" -v last="$2" 'BEGIN {
        for (i = first; i <= last; i++)
            printf "hook kind=down_uni port=1 frame=0200000000010200%08x080045%036d\n", i, 0
    }'
}

# Commands that make most counters count. There are more flows than the largest table has places: it
# grows, then sweeps unused rules. Some flows come again, so they replay, find their outcome, or no
# place for it.
counted_commands() {
    cat /tests/traffic/provision.scn /tests/traffic/counted.scn
    first_frames 1 700
    first_frames 1 700
    first_frames 100 300
    first_frames 1 1800
    first_frames 1500 1800
    for bucket in 1 2 3 4 5 6 7 8; do echo "debug clean flow_rule $bucket 0"; done
    # The port keeps the link to its filter that is gone, so the step fails.
    echo 'proc write "clean raw_data 84 b"'
    echo 'hook kind=up_ani frame=0200000000010200000077018100006408004500000000000000000000000000'
    echo 'clean'
    echo 'hook kind=up_uni port=1 frame=0200000000010200000077010800450000'
    echo 'hook kind=up_ani frame=0200000000010200000077010800450000'
}

# The kernel patches its scheduler to record the names of processes with trace events. An emulated
# processor may stop at an instruction that is half patched.
record_no_names() {
    echo norecord-cmd >/sys/kernel/tracing/trace_options
}
