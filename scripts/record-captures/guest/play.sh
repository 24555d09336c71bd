# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
# Runs the recording: line, servers, recorders, clients. A step that fails ends the recording.
set -eu

trap 'echo "play.sh: ended with status $?"' EXIT
# The shell's built-in ip would hide the real one.
ip() {
    /usr/bin/ip "$@"
}

. ./line.sh
. ./servers.sh
. ./clients_uni1.sh
. ./clients_uni2.sh

say() {
    echo "[$(cut -d' ' -f1 /proc/uptime)] $*"
}

start_tap() {
    # Not in_ns: the process id must be that of the program, not of a shell around it.
    /usr/bin/ip netns exec onu tcpdump -q -Z root -i "$1" -Q in -s 0 -B 4096 --immediate-mode -U \
        -w "/taps/$2.pcap" 2> "/run/tap-$2.log" &
    echo $! > "/run/pid/tap-$2"
    until grep -q 'listening on' "/run/tap-$2.log"; do
        sleep 0.2
    done
}

stop_tap() {
    kill "$(cat "/run/pid/tap-$1")"
    wait "$(cat "/run/pid/tap-$1")" || true
    cat "/run/tap-$1.log"
}

build_line
say "line built"
start_tap uni1 uni1
start_tap uni2 uni2
start_tap ani ani
raise_line
start_servers
say "servers run"
for part in untagged internet pppoe business voice television; do
    say "$part"
    "play_$part"
done
for tap in uni1 uni2 ani; do
    stop_tap "$tap"
done
say "play done"
