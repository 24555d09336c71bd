# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash
#
# Output of the figures of a guest: tables and a document.

# JSON...: a table in Markdown, a pair of columns for each architecture.
guest_table() {
    python3 scripts/kernel/guest-figures.py table "$@"
}

# JSON: the table for a terminal.
show_guest_figures() {
    echo
    guest_table "$1" | sed '/^|---/d; s/\*\*//g' | column -t -s '|'
    jq -r '"  instructions of a frame, repeats within \(.spread_percent) %, Linux \(.kernel)"' "$1"
}

guest_section() {
    guest_table "$@"
    echo
    jq -r '"\(.arch): Linux \(.kernel), g++ \(.compiler); repeats of a case differ by at most " +
        "\(.spread_percent) %.\n"' "$@"
    echo "Measured by \`./run bench-kernel $(jq -rs 'map(.arch) | join(" ")' "$@") --write\`."
}

# JSON...: of each architecture a record without counters and one with them.
counter_section() {
    echo "Instructions that the module adds to a frame over those of a bridge. A frame makes two hook"
    echo "calls. The module without counters is built for this comparison only. The last two columns are"
    echo "the growth by the counters: of what the module adds without them, and of the whole frame, with"
    echo "the instructions of the bridge."
    echo
    python3 scripts/kernel/guest-figures.py counters "$@"
    echo
    jq -rs 'unique_by(.arch)[] | "\(.arch): Linux \(.kernel), g++ \(.compiler).\n"' "$@"
    echo "Measured by \`./run bench-kernel $(jq -rs 'map(.arch) | unique | join(" ")' "$@") --counters --write\`."
}

# ARCH=GUEST-OUTPUT...
event_section() {
    local each
    python3 scripts/kernel/trace-event-cost.py "$@"
    echo
    for each in "$@"; do
        echo "${each%%=*}: Linux $(kernel_version "${each%%=*}")."
        echo
    done
    echo "Measured by \`./run bench-kernel $(printf '%s ' "${@%%=*}")--trace-events --write\`."
}
