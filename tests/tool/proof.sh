# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash
# shellcheck disable=SC2034 # tool and root are for the test that sources this file
#
# Common parts of the tests of the tool's command line: the tool, the root of the tree, and a
# scratch folder, which is the current one. A test ends with "exit $failed".

tool=$(realpath "$1")
root=$(realpath "$(dirname "$0")/../..")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit

# shellcheck source=scripts/complain.sh
. "$root/scripts/complain.sh"

# COMMAND...: under the address sanitizer without the search for leaks at each exit. For repetitions of
# a run that is searched once.
without_leak_search() {
    ASAN_OPTIONS=${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0 "$@"
}

# STATUS ARGUMENT...: standard output goes to the file out, standard error to err.
expect_status() {
    local expected=$1 status=0
    shift
    "$tool" "$@" >out 2>err </dev/null || status=$?
    [ "$status" = "$expected" ] || complain "gponflow $*: exit status $status, not $expected"
}

# FILE STATUS ARGUMENT...: the same with standard input from the file.
tool_with_input() {
    local input=$1 expected=$2 status=0
    shift 2
    "$tool" "$@" <"$input" >out 2>err || status=$?
    [ "$status" = "$expected" ] || complain "gponflow $* <$input: exit status $status, not $expected"
}

# TEXT: all of standard output.
expect_out() {
    [ "$(cat out)" = "$1" ] || complain "standard output is not '$1' but '$(cat out)'"
}

# TEXT: all of standard error.
expect_err() {
    [ "$(cat err)" = "$1" ] || complain "standard error is not '$1' but '$(cat err)'"
}
