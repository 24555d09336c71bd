# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash
#
# Functions of the subcommands that measure on this machine. Sourced after scripts/build.sh.

# build_benchmarks TARGET...: with DPDK's hash table if DPDK is available.
build_benchmarks() {
    need bench
    if ! need bench-peers; then
        echo "DPDK cannot be installed here: what is compared with its hash table is skipped" >&2
    fi
    step bench build_preset bench "$@"
}

# bench_lines JSON: name, CPU nanoseconds of a thread, allocations, bytes; tab separated.
bench_lines() {
    printf 'case\tns each\tallocations\tbytes\n'
    jq -r '
        def shown: if . == null then "" elif . >= 100 then round else . * 10 | round / 10 end;
        .benchmarks[] | select(.run_type == "iteration")
        | [(.name | sub("/manual_time$"; "") | sub("/real_time/threads:2$"; ", two threads")),
           ((.cpu_ns // (1e9 / .items_per_second)) | shown), (.allocs | shown), (.bytes | shown)]
        | @tsv' "$1"
}

# bench_section JSON: the tables of a document.
bench_section() {
    printf '| case | ns each | allocations | bytes |\n|---|--:|--:|--:|\n'
    bench_lines "$1" | sed '1d; s/\t/ | /g; s/^/| /; s/$/ |/'
    printf "\nMeasured by \`./run bench --write\`: %s.\n" "$(machine)"
}

# ratios_section LINES: the lines of bench-ratios as a table.
ratios_section() {
    printf '| name | ratio | target | |\n|---|--:|--:|---|\n'
    sed 's/\t/ | /g; s/^/| /; s/$/ |/' <<<"$1"
    printf "\nMeasured by \`./run bench-ratios --write\`: %s.\n" "$(machine)"
}

# The machine and compiler of the measurement.
machine() {
    printf '%s, g++ %s' "$(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -n 1)" \
        "$(g++ -dumpfullversion)"
}
