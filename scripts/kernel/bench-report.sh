# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash
#
# Output of a guest's figures: tables, the section of a document, the baseline.

# JSON...: a table in Markdown, a pair of columns for each architecture.
guest_table() {
    jq -rs -f scripts/kernel/bench-table.jq "$@"
}

# JSON: the table for a terminal.
show_guest_figures() {
    echo
    guest_table "$1" | sed '/^|---/d; s/\*\*//g' | column -t -s '|'
    jq -r '"  instructions of a frame, repeated within \(.spread_percent) %, Linux \(.kernel)"' "$1"
}

guest_section() {
    guest_table "$@"
    echo
    jq -r '"\(.arch): Linux \(.kernel), g++ \(.compiler); repeated figures differ by at most " +
        "\(.spread_percent) %.\n"' "$@"
    echo "Measured by \`./run bench-kernel $(jq -rs 'map(.arch) | join(" ")' "$@") --write\`."
}

# FILE JSON...: writes the baseline. Other architectures keep their figures.
write_guest_baseline() {
    local file=$1 old='{}'
    shift
    [ ! -f "$file" ] || old=$(cat "$file")
    jq -s --argjson old "$old" '
        $old + (map({key: .arch, value: {kernel, compiler, added: {
            gpon_flow_quick: .added.gpon_flow_quick,
            gpon_flow_first: .added.gpon_flow_first}}}) | from_entries)' "$@" >"$file.new"
    mv "$file.new" "$file"
}

# BASELINE JSON: prints a line for each figure; fails if one is over 3 % above the baseline, or if
# there is no baseline for the architecture.
check_guest_figures() {
    jq -r --slurpfile baseline "$1" '
        . as $now | $baseline[0][.arch] as $old |
        if $old == null then "no baseline for \(.arch) MISSING"
        else ($old.added | to_entries[] |
            if $now.added[.key] == null then "\($now.arch) \(.key) MISSING" else
            ($now.added[.key] / .value * 100 - 100) as $change |
            "\($now.arch) \(.key) \(.value) -> \($now.added[.key]) instructions, " +
            "\($change * 10 | round / 10) % \(if $change > 3 then "SLOWER" else "ok" end)" end),
            (if $old.kernel != $now.kernel or $old.compiler != $now.compiler then
                "note: the baseline is of Linux \($old.kernel) and g++ \($old.compiler), " +
                "this is Linux \($now.kernel) and g++ \($now.compiler)" else empty end)
        end' "$2"
}

check_guest_baseline() {
    local baseline=$1 json lines status=0
    shift
    if [ ! -f "$baseline" ]; then
        echo "there is no baseline $baseline, --update makes one" >&2
        return 1
    fi
    for json in "$@"; do
        lines=$(check_guest_figures "$baseline" "$json") || return 1
        echo "$lines"
        if grep -qE ' (SLOWER|MISSING)$' <<<"$lines"; then status=1; fi
    done
    return "$status"
}
