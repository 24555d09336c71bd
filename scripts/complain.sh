# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash
# shellcheck disable=SC2034 # failed is for the script that sources this one
#
# Faults that a check finds. It reports each of them and ends with "exit $failed".

failed=0
checker=$(basename "$0" .sh)

# complain TEXT...
complain() {
    echo "$checker: $*" >&2
    failed=1
}

# complain_of TEXT: the same, and the offending lines from standard input.
complain_of() {
    complain "$1"
    sed 's/^/    /' >&2
}

# complain_of_any TEXT: the same, if standard input has a line.
complain_of_any() {
    local found
    found=$(cat)
    [ -z "$found" ] || complain_of "$1" <<<"$found"
}
