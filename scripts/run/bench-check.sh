# SPDX-License-Identifier: GPL-2.0-only
# [--update] [--guest] compare instruction counts of the benchmarks with bench/baseline.json
#
# Counts the instructions of the host benchmarks' loops with callgrind, and their allocations. The
# check fails if the core takes over 3 % more instructions than the baseline. The counts are the same
# in every run of the same program. Another compiler produces another program; then only the
# allocations are compared. --update writes a new baseline, after an intended change. --guest also
# checks the instructions per frame in a kernel (bench-kernel --check).
set -eu
. scripts/build.sh
. scripts/bench.sh

update='' guest=''
for word in "$@"; do
    case $word in
    --update) update=1 ;;
    --guest) guest=1 ;;
    *)
        echo "run bench-check: '$word' is neither --update nor --guest" >&2
        exit 2
        ;;
    esac
done

counts=$GPON_BUILD_DIR/bench/instructions.json
# DPDK's table is not counted.
need bench
step bench build_preset bench gpon_loops
step count bash scripts/count-instructions.sh "$(preset_dir bench)/bin/gpon_loops" "$counts"

if [ -n "$update" ]; then
    cp "$counts" bench/baseline.json
    echo "bench/baseline.json: $(jq '.loops | length' bench/baseline.json) loops"
else
    python3 scripts/compare-instructions.py bench/baseline.json "$counts"
fi
if [ -n "$guest" ]; then
    bash scripts/run/bench-kernel.sh arm64 x86_64 ${update:+--update} --check
fi
