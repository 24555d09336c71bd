# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# What all guest tests use: results, the kernel's properties, waiting, and both modules. busybox's shell
# runs them as root in a virtual machine.

# The shell prefers its own applets to programs in the path.
ip() { /sbin/ip "$@"; }
tc() { /sbin/tc "$@"; }

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

# COMMAND...: repeats it until it succeeds. Its status is 1 if that takes two minutes.
soon() {
    local tries=0
    until "$@"; do
        tries=$((tries + 1))
        [ $tries -lt 600 ] || return 1
        sleep 0.2
    done
}

# FILE TEXT PROCESS: whether the file has the text. Until then the process must run.
has_text() {
    ! grep -q "$2" "$1" 2>/dev/null || return 0
    kill -0 "$3" 2>/dev/null || fail "no '$2', the process has ended: $(cat "$1")"
    return 1
}

wait_for() {
    soon has_text "$@" || fail "no '$2': $(cat "$1")"
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

unload_gpon_flow() {
    rmmod gpon_flow || fail "gpon_flow does not unload"
}

unload_softonu() {
    rmmod gpon_softonu || fail "gpon_softonu does not unload"
}

unload_both() {
    unload_gpon_flow
    unload_softonu
}

# FILE: its commands, in the loaded modules. "-" is standard input.
obey() {
    gponflow run --backend=device "$1" >/tmp/printed 2>&1 ||
        fail "the commands of $1: $(tail -n 20 /tmp/printed)"
}
