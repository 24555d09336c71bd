#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: command_line_test.sh GPONFLOW
#
# The tool as its user meets it: arguments, exit status, and which stream says what.
set -eu
tool=$(realpath "$1")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"

failed=0
complain() {
    echo "$1" >&2
    failed=1
}

# STATUS ARGUMENT...: standard output goes to the file out, standard error to err.
expect_status() {
    local expected=$1 status=0
    shift
    "$tool" "$@" >out 2>err </dev/null || status=$?
    [ "$status" = "$expected" ] || complain "gponflow $*: exit status $status, not $expected"
}

expect_out() { # TEXT
    [ "$(cat out)" = "$1" ] || complain "standard output is not '$1' but '$(cat out)'"
}

expect_err() { # TEXT
    [ "$(cat err)" = "$1" ] || complain "standard error is not '$1' but '$(cat err)'"
}

expect_help() { # TEXT
    grep -qF -- "$1" out || complain "the help lacks '$1'"
}

printf 'platform queue=0\nproc read\nexpect ret=absent\n' >held.scn
expect_status 0 run held.scn
expect_out $'> platform queue=0\n> proc read\n= proc absent\n> expect ret=absent'
expect_err ''

printf 'proc read\nexpect ret=0\necho on\n' >unheld.scn
expect_status 1 run unheld.scn
expect_out $'> proc read\n= proc absent\n> expect ret=0\n! expected ret=0, got absent\n> echo on\non'
expect_err ''

printf 'echo never\n\nlaod\n' >faulty.scn
expect_status 2 run faulty.scn
expect_out ''
expect_err "faulty.scn:3: column 1: unknown command 'laod' (did you mean 'load'?)"

expect_status 2 run missing.scn
expect_out ''
expect_err 'missing.scn: No such file or directory'

expect_status 2 run .
expect_err '.: Is a directory'
expect_status 2 run /dev/zero
expect_err '/dev/zero: longer than 256 MiB'

printf 'echo never\npcap missing.pcap kind=0\n' >capture.scn
expect_status 2 run capture.scn
expect_out ''
expect_err "capture.scn:2: cannot read the capture 'missing.pcap': No such file or directory"

printf 'echo on\nunload\necho never\n' >refused.scn
expect_status 3 run refused.scn
expect_out $'> echo on\non\n> unload'
expect_err 'refused.scn:2: the module is not loaded'

status=0
"$tool" run - >out 2>err < <(printf 'echo on\nx') || status=$?
[ "$status" = 2 ] || complain "a faulty scenario from standard input: exit status $status"
expect_err "-:2: column 1: unknown command 'x'"
"$tool" run - >out 2>err <held.scn || complain 'a scenario from standard input fails'

status=0
"$tool" run held.scn >/dev/full 2>err || status=$?
[ "$status" = 3 ] || complain "a full disk: exit status $status"
expect_err 'gponflow: cannot write the transcript to standard output'

expect_status 2
expect_status 2 run
expect_status 2 run --backend=elsewhere held.scn
expect_status 2 run held.scn held.scn
expect_status 2 fly

expect_status 0 --version
expect_status 0 --help
expect_help 'gponflow run --mask-lines'
expect_status 0 run --help
expect_help '--backend'
expect_help 'hook kind=switch param=1'

# The example that the help shows is a scenario that runs.
sed -n '/^  load /,/^  unload/p' out >help.scn
sed -i 's/   .*//' help.scn
grep -q '^  unload' help.scn || complain 'the help shows no scenario'
expect_status 0 run help.scn

printf 'load\ndebug set debug_level 7\nme create 45 1\n' >log.scn
expect_status 0 run --mask-lines log.scn
grep -q '^| .*\[gpon_flow_me_handle\]\[0\]' out || complain 'line numbers are not masked'
expect_status 0 run log.scn
grep -q '^| .*\[gpon_flow_me_handle\]\[[1-9]' out || complain 'line numbers are masked unasked'

exit "$failed"
