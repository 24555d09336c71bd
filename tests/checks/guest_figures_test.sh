# SPDX-License-Identifier: GPL-2.0-only
set -eu
. tests/checks/proof.sh
figures=scripts/kernel/guest-figures.py

# LINE...: the lines of a guest, for one architecture, as the record of its figures.
record() {
    printf '@@ %s\n' "$@" | python3 "$figures" record arm64 6.1 12.2.0 >"$tree/now.json"
}

# QUICK FIRST: a bridge of 1000 instructions, and gpon_flow.
bridge_and_gpon_flow() {
    record "bench bridge 8 1000 1010" "bench bridge 16 1000 1010" \
        "bench gpon_flow_quick 8 $1 $1" "bench gpon_flow_first 16 $2 $2"
}

check() {
    python3 "$figures" check "$tree/then.json" "$tree/now.json"
}

fresh_tree
fails "no baseline" "there is no baseline" check
bridge_and_gpon_flow 2000 4000
python3 "$figures" update "$tree/then.json" "$tree/now.json"
passes "the same" check
bridge_and_gpon_flow 2030 4090
passes "3 % more" check
bridge_and_gpon_flow 2031 4000
fails "quick path over 3 % slower" "gpon_flow_quick 1000 -> 1031 instructions, 3.1 % SLOWER" check
bridge_and_gpon_flow 2000 4091
fails "first frame over 3 % slower" "gpon_flow_first 3000 -> 3091 instructions, 3 % SLOWER" check
bridge_and_gpon_flow 1500 2000
passes "faster" check
record "bench bridge 8 1000 1010"
fails "nothing measured of gpon_flow" "MISSING" check
bridge_and_gpon_flow 2000 4000
sed -i 's/"arm64"/"x86_64"/' "$tree/then.json"
fails "no baseline for the architecture" "MISSING" check

# A whole table: each case twice, with what it adds to the bridge.
all=()
for flows in 1 8 16 64 256 768 4096; do
    all+=("bench bridge $flows 1000 1000" "bench bridge $flows 1002 1002" "rules $flows $flows"
        "calls $flows $flows $((flows * 2)) $flows")
    for case in veth_bridge vlan_filtering flower openvswitch own_mapping gpon_flow_quick \
        gpon_flow_first gpon_flow_mix; do
        all+=("bench $case $flows 1500 1600")
    done
done
record "${all[@]}"
python3 "$figures" table "$tree/now.json" | file table
for row in '| case | arm64 | added |' '| (a) bridge | 1000 |  |' '| (c) 64 rules | 1500 | +500 |' \
    '| gpon_flow, 64 flows in turns, 50 % of their rules kept, 25 % of the calls with a remembered outcome, 50 % replayed | 1600 | +599 |' \
    '| **added, (e) : (d)** | | 1 |'; do
    passes "the row $row" grep -qxF -- "$row" "$tree/table"
done
fails "a table of nothing" "usage" python3 "$figures" table

bridge_and_gpon_flow 1900 3950
mv "$tree/now.json" "$tree/countless.json"
bridge_and_gpon_flow 2000 4000
python3 "$figures" counters "$tree/countless.json" "$tree/now.json" | file counters
for row in '| frame | arm64, without counters | with them | of what is added | of the whole frame |' \
    '|---|--:|--:|--:|--:|' '| quick path | 900 | 1000 | +11.1 % | +5.3 % |' \
    '| first frame of a flow | 2950 | 3000 | +1.7 % | +1.3 % |'; do
    passes "the row $row" grep -qxF -- "$row" "$tree/counters"
done
fails "counters of one record" "usage" python3 "$figures" counters "$tree/now.json"

# Refused before anything is fetched or built.
for options in '--counters --check' '--check --counters' '--counters --update' '--trace-events --check' \
    '--trace-events --update' '--counters --trace-events' '--counters --check --update'; do
    # shellcheck disable=SC2086 # words
    fails "bench-kernel $options" "exclude each other" \
        env GPON_BUILD_DIR="$tree" timeout 60 bash scripts/run/bench-kernel.sh $options
done

exit "$proofs_failed"
