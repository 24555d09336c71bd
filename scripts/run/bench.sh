# SPDX-License-Identifier: GPL-2.0-only
# [FILTER=REGEX] [SECONDS=0.1] [--write] measure time, bytes and allocations of the core and its peers
#
# SECONDS applies to each benchmark. The figures go to build/bench/bench.json. --write puts the table
# into docs/results/host-cases.md.
set -eu
. scripts/build.sh
. scripts/bench.sh
. scripts/results.sh

filter=. seconds=0.1 write=''
for word in "$@"; do
    case $word in
    FILTER=*) filter=${word#*=} ;;
    SECONDS=*) seconds=${word#*=} ;;
    --write) write=1 ;;
    *)
        echo "run bench: '$word' is neither FILTER=... nor SECONDS=... nor --write" >&2
        exit 2
        ;;
    esac
done
if ! [[ $seconds =~ ^[0-9]+(\.[0-9]+)?$ ]]; then
    echo "run bench: SECONDS is a number, not '$seconds'" >&2
    exit 2
fi

build_benchmarks gpon_bench
json=$GPON_BUILD_DIR/bench/bench.json
step run "$(preset_dir bench)/bin/gpon_bench" --benchmark_filter="$filter" \
    --benchmark_min_time="$seconds" --benchmark_out="$json.new" --benchmark_out_format=json
if [ ! -s "$json.new" ] || [ "$(jq '.benchmarks | length' "$json.new")" = 0 ]; then
    echo "run bench: no benchmark matches '$filter'" >&2
    exit 2
fi
# Figures of selected cases do not replace those of all cases.
if [ "$filter" = . ]; then
    mv "$json.new" "$json"
else
    json=$json.new
fi
bench_lines "$json" | column -t -s $'\t' -R 2,3,4
if [ -n "$write" ]; then
    bench_section "$json" | write_result host-cases 'All cases on the host'
fi
