# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# The counters of the module.

# FILE: all counters.
counters_to() {
    netlink_reader counters >"$1" || fail "no counters: $(cat "$1")"
}

# FILE DOCUMENT: the tool's document has the counters of the file, with the same values.
expect_counters() {
    local name value
    while read -r name value; do
        grep -qE "\"$name\": $value,?\$" "$2" || fail "$2 differs in $name=$value"
    done <"$1"
}

# NAME...: the sum of the differences of these counters between /tmp/before and /tmp/after.
grown_by() {
    echo "$@" | awk 'FNR == NR { for (i = 1; i <= NF; i++) wanted[$i] = 1 ; next }
        wanted[$1] { sum += FILENAME == "/tmp/after" ? $2 : -$2 }
        END { print sum + 0 }' - /tmp/before /tmp/after
}
