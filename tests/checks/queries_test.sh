# SPDX-License-Identifier: GPL-2.0-only
# shellcheck disable=SC2016 # the back quotes are Markdown's
set -eu
. tests/checks/proof.sh
check=scripts/check-queries.py

fresh_tree
printf 'GPON_COUNTER_SUM(calls_up_uni, "Frames")\nGPON_COUNTER(replays, "Frames")\n' | file counters.def

# query TEXT: a document with this query.
query() {
    printf '| panel | query |\n|---|---|\n| rules | `gpon_flow_rules` |\n| x | `%s` |\n' "$1" | file doc.md
}

query 'rate(gpon_flow_replays_total[1m]) / (rate(gpon_flow_calls_up_uni_total[5m]))'
passes "two counters" python3 "$check" "$tree/counters.def" "$tree/doc.md"
query 'sum(rate({__name__=~"gpon_flow_calls_.*"}[1m]))'
fails "a pattern in rate()" "a pattern of names" python3 "$check" "$tree/counters.def" "$tree/doc.md"
query 'rate(gpon_flow_replay_total[1m])'
fails "a counter that does not exist" "no metric gpon_flow_replay_total" \
    python3 "$check" "$tree/counters.def" "$tree/doc.md"
query 'rate(gpon_flow_rules[1m])'
fails "the rate of a gauge" "not a counter" python3 "$check" "$tree/counters.def" "$tree/doc.md"
query 'rate(gpon_flow_replays_total)'
fails "a rate without a range" "not a counter with a range" \
    python3 "$check" "$tree/counters.def" "$tree/doc.md"
query 'rate(gpon_flow_replays_total[1m]'
fails "an open parenthesis" "open parentheses" python3 "$check" "$tree/counters.def" "$tree/doc.md"
query 'gpon_flow_replays_total'
fails "a counter itself" "without rate()" python3 "$check" "$tree/counters.def" "$tree/doc.md"
printf 'Text.\n' | file doc.md
fails "a document without queries" "no query" python3 "$check" "$tree/counters.def" "$tree/doc.md"
fails "a document that is missing" "No such file" python3 "$check" "$tree/counters.def" "$tree/absent.md"

exit "$proofs_failed"
