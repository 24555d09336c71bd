#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: scenario.sh check|record GPONFLOW FILE.scn...
#
# The transcript of a scenario is in the same folder. check compares the tool's output with it; record
# writes it. Both start in the root of the tree, so transcripts contain no other path.
set -eu

# shellcheck source=scripts/complain.sh
. "$(dirname "$0")/complain.sh"

# TOOL FILE OUT: an invalid scenario or a failed expectation is an error.
run_scenario() {
    local status=0
    "$1" run --mask-lines "$2" >"$3" || status=$?
    if [ "$status" != 0 ]; then
        grep '^! ' "$3" >&2 || true
        complain "$2: the tool's exit status is $status"
        return 1
    fi
}

check() { # FILE TRANSCRIPT OUT
    if [ ! -f "$2" ]; then
        complain "$1 has no transcript: ./run record $1"
    elif ! diff -u "$2" "$3"; then
        complain "$1 prints something else than $2; if that is meant: ./run record $1"
    fi
}

record() { # FILE TRANSCRIPT OUT
    if ! cmp -s "$3" "$2"; then
        cp "$3" "$2"
        echo "recorded $2"
    fi
}

if [ $# -lt 3 ] || { [ "$1" != check ] && [ "$1" != record ]; }; then
    echo "usage: scenario.sh check|record GPONFLOW FILE.scn..." >&2
    exit 2
fi
action=$1
tool=$2
shift 2

out=$(mktemp)
trap 'rm -f "$out"' EXIT
for file in "$@"; do
    if run_scenario "$tool" "$file" "$out"; then
        "$action" "$file" "${file%.scn}.transcript" "$out"
    fi
done
exit "$failed"
