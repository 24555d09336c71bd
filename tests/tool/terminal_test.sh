#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: terminal_test.sh GPONFLOW
#
# The tool on a terminal: its output, the keys and signals that end it, and the restored state of
# the terminal. script(1) creates the terminals.
set -eu
# shellcheck source=tests/tool/proof.sh
. "$(dirname "$0")/proof.sh"
export TERM=xterm
export SHELL=/bin/sh # script's
unset NO_COLOR

# TEXT: waits until it has been shown.
until_shown() {
    for _ in $(seq 300); do
        ! grep -qF -- "$1" shown || return 0
        sleep 0.1
    done
}

until_over() {
    for _ in $(seq 2000); do
        [ ! -e after ] || return 0
        sleep 0.1
    done
}

# USER COMMAND: runs the command on a terminal of 10 lines with 60 columns. USER is a function whose
# output is the pressed keys; the screen is written to the file shown. The exit status and the
# settings of the terminal before and after are written to files too: Ctrl-C must not end the shell
# that writes them.
on_terminal() {
    local user=$1 command=$2
    ran=$command
    rm -f after status
    : >shown
    {
        $user
        until_over
    } | timeout 240 script -qc "trap : INT QUIT; stty rows 10 cols 60; tty >line; stty -g >before
        sh -c 'echo \$\$ >pid; $command'; echo \$? >status; stty -g >after" /dev/null >shown ||
        complain "$command: it does not end"
    cmp -s before after || complain "$command: the terminal is not given back as it was"
}

expect_shown() { # TEXT
    grep -qF -- "$1" shown || complain "$ran: on the terminal '$1' is missing"
}

expect_status() { # STATUS
    [ "$(cat status)" = "$1" ] || complain "$ran: exit status $(cat status), not $1"
}

watch="exec $tool watch $root/scenarios/demo.scn"

press() { # KEYS
    until_shown 'q quits'
    printf '%b' "$1"
}

send() { # SIGNAL
    until_shown 'q quits'
    kill "-$1" "$(cat pid)"
}

scroll_to_end() {
    until_shown 'q quits'
    printf G
    until_shown '61 to 68'
    printf q
}

enlarge() {
    until_shown 'q quits'
    stty -F "$(cat line)" rows 20
    until_shown '18 shown'
    printf q
}

if "$tool" watch --help | grep -q 'q or Ctrl-C exits'; then
    on_terminal 'press q' "$watch"
    expect_status 0
    expect_shown 'AGE (jiffies)'
    expect_shown '68 rules, 1 to 8 shown; arrow and page keys scroll; q quits'
    expect_shown $'\033[?1049h'
    expect_shown $'\033[?1049l'
    on_terminal 'press \003' "$watch" # Ctrl-C
    expect_status 0
    expect_shown $'\033[?1049l'
    for signal in INT QUIT TERM HUP; do
        on_terminal "send $signal" "$watch"
        expect_status 0
        expect_shown $'\033[?1049l'
    done
    # A terminal that cannot move its contents is redrawn.
    on_terminal scroll_to_end "export TERM=vt100; $watch"
    expect_status 0
    expect_shown '61 to 68 shown'
    on_terminal enlarge "export TERM=vt100; $watch"
    expect_status 0
    expect_shown '1 to 18 shown'
fi
on_terminal : "$watch --once"
expect_status 0
expect_shown '68 rules'
grep -q $'\033' shown && complain 'a table that is printed once has commands for the terminal'
on_terminal : "export TERM=dumb-and-unknown; $watch"
expect_status 0
expect_shown '68 rules'

# Long captures show their progress, short ones do not.
# Progress appears after a second, so the capture has the length that takes this machine longer. Frames
# of one path cost little, so each frame has tags of its own.
write_capture() { # FRAMES
    python3 -c '
import struct, sys
out = sys.stdout.buffer
out.write(struct.pack("<IHHiIII", 0xa1b2c3d4, 2, 4, 0, 0, 65535, 1))
for number in range(int(sys.argv[1])):
    tags = struct.pack(">HHHH", 0x88a8, number >> 12, 0x8100, number & 0xfff)
    frame = bytes(range(12)) + tags + b"\x08\x00" + bytes(46)
    out.write(struct.pack("<IIII", number, 0, len(frame), len(frame)) + frame)
' "$1" >long.pcap
}
processor_milliseconds() { # COMMAND...
    local TIMEFORMAT=%3U time
    time=$({ time without_leak_search "$@" >/dev/null; } 2>&1)
    echo "$((10#${time/[.,]/}))"
}
{
    sed '/^pcap/d; /^unload/d' "$root/scenarios/subscriber-line.scn"
    echo 'pcap long.pcap kind=up_ani'
} >long.scn
frames=12000
write_capture $frames
while [ "$(processor_milliseconds "$tool" account long.scn)" -lt 1200 ]; do
    frames=$((frames * 3 / 2))
    write_capture $frames
done
on_terminal : "exec $tool account long.scn"
expect_status 0
expect_shown '% of long.pcap'
expect_shown $'\r\033[K'
on_terminal : "exec $tool account long.scn 2>err"
grep -q '% of' shown err && complain 'a progress line goes to a file'
on_terminal : "exec $tool account $root/scenarios/tour.scn"
grep -q '% of' shown && complain 'a short run has a progress line'

# Several inputs have one progress line, not one for each process.
on_terminal : "exec $tool account long.scn long.scn --jobs 1 >lines"
expect_status 0
expect_shown '% of 2 inputs'
grep -q '% of long.pcap' shown && complain 'a process of its own has a progress line'
[ "$(wc -l <lines)" = 2 ] || complain 'not a line for each input'
echo long.scn >list
on_terminal : "cat list list | $tool account --files - --jobs 1 >lines"
expect_shown '1 input'

# Colours are for terminals.
printf 'me create GEM_INTERWORK_TP 0x11 gemCTPInstID=7\n' >dangling.scn
on_terminal : "exec $tool check dangling.scn"
expect_status 1
expect_shown $'\033[31m1 problem\033[0m'
on_terminal : "export NO_COLOR=1; exec $tool check dangling.scn"
grep -q $'\033' shown && complain 'NO_COLOR is not respected'

exit "$failed"
