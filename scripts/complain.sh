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

# complain_of_any TEXT LINES: the same, if there are lines.
complain_of_any() {
    [ -z "$2" ] || complain_of "$1" <<<"$2"
}
