# SPDX-License-Identifier: GPL-2.0-only
# draw docs/results/*.svg from build/bench/bench.json and build/bench/guest.json
set -eu
. scripts/build.sh
. scripts/bench.sh

need bench
host=$GPON_BUILD_DIR/bench/bench.json guest=$GPON_BUILD_DIR/bench/guest.json
for file in "$host:bench" "$guest:bench-kernel"; do
    if [ ! -f "${file%:*}" ]; then
        echo "run plots: there are no figures in ${file%:*}, ./run ${file##*:} measures them" >&2
        exit 1
    fi
done
data=$(mktemp -d)
trap 'rm -rf "$data"' EXIT
mkdir -p docs/results

# each NAME: nanoseconds of one operation.
host_figures() {
    jq -r '.benchmarks[] | select(.run_type == "iteration" and .threads == 1)
        | "\(.name | sub("/manual_time$"; "")) \(1e9 / .items_per_second)"' "$host"
}
host_figures >"$data/host"

# series NAME-WITH-% VALUE...: a row for each value, which replaces the %.
series() {
    local pattern=$1 value
    shift
    for value in "$@"; do
        awk -v name="${pattern/\%/$value}" -v value="$value" '$1 == name { print value, $2 }' \
            "$data/host"
    done
}

for table in rule peer/rte_hash peer/lfht peer/chained; do
    series "$table/lookup_hit/16_bytes/%_rules" 48 256 768 >"$data/lookup-${table##*/}"
    series "$table/learn/16_bytes/%_rules" 256 >"$data/learn-${table##*/}"
done
series "outcome/find/16_bytes/%_flows" 48 256 768 >"$data/lookup-outcome"
for kind in up_ani:ports down_ani:ports up_ani:bridges; do
    series "walk/${kind%:*}/%_${kind#*:}" 1 2 4 8 16 32 64 128 256 >"$data/walk-${kind/:/-}"
done
for path in known quick first; do
    series "hook/$path/up_ani/%_services" 1 8 64 >"$data/hook-$path"
done
jq -r '.added | "\"VLAN filter\" \(.vlan_filtering)",
    (.flower as $flower | ("1", "64", "256", "768") | "\"tc flower, \(.)\" \($flower[.])"),
    "\"Open vSwitch\" \(.openvswitch)", "\"known frame\" \(.gpon_flow_quick)",
    "\"first frame\" \(.gpon_flow_first)"' "$guest" >"$data/guest"

step plots gnuplot -e "data='$data'" -e "out='docs/results'" scripts/plots.gnuplot
# gnuplot leaves blanks at the end of lines.
sed -i 's/[[:space:]]*$//' docs/results/*.svg
ls docs/results/*.svg
