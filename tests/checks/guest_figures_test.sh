# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash
set -eu
. tests/checks/proof.sh
. scripts/kernel/bench-report.sh
command -v jq >/dev/null || exit 77

# LINE...: what a guest says, for one architecture, as the record of its figures.
record() {
    printf '%s\n' "$@" | jq -Rn --arg arch arm64 --arg kernel 6.1 --arg compiler 12.2.0 \
        -f scripts/kernel/bench.jq >"$tree/now.json"
}

# QUICK FIRST: a bridge of 1000 instructions, and gpon_flow.
figures() {
    record "bench bridge 8 1000 1010" "bench bridge 16 1000 1010" \
        "bench gpon_flow_quick 8 $1 $1" "bench gpon_flow_first 16 $2 $2"
}

check() {
    check_guest_baseline "$tree/then.json" "$tree/now.json"
}

fresh_tree
fails "no baseline" "there is no baseline" check
figures 2000 4000
write_guest_baseline "$tree/then.json" "$tree/now.json"
passes "the same" check
figures 2030 4090
passes "3 % more" check
figures 2031 4000
fails "quick path over 3 % slower" "gpon_flow_quick 1000 -> 1031 instructions, 3.1 % SLOWER" check
figures 2000 4091
fails "first frame over 3 % slower" "gpon_flow_first 3000 -> 3091 instructions, 3 % SLOWER" check
figures 1500 2000
passes "faster" check
record "bench bridge 8 1000 1010"
fails "nothing measured of gpon_flow" "MISSING" check
figures 2000 4000
jq '{x86_64: .arm64}' "$tree/then.json" >"$tree/other.json"
mv "$tree/other.json" "$tree/then.json"
fails "no baseline for the architecture" "MISSING" check

exit "$proofs_failed"
