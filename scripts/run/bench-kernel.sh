# SPDX-License-Identifier: GPL-2.0-only
# [ARCH...] [--write] [--check [BASELINE]] [--update] [--trace-events] [--counters] count instructions per frame in a real kernel
#
# Boots a guest whose clock counts instructions (arm64 unless other architectures are given) and
# measures the cost of a subscriber's frame across a bridge, a VLAN filtering bridge, tc flower, Open
# vSwitch and gpon_flow. The figures go to build/bench/guest-ARCH.json, those of the first
# architecture also to build/bench/guest.json. --write puts the table into
# docs/results/frame-instructions.md.
#
# --check and --update measure only bridge and gpon_flow. --check fails if gpon_flow adds over 3 %
# more instructions to a frame than in the baseline bench/baseline-guest.json: the instructions of the
# bridge do not count in the 3 %. --update writes the baseline.
#
# --trace-events measures only gpon_flow, with its trace events off and on. --write then puts the table
# into docs/results/trace-event-cost.md.
#
# --counters measures only bridge and gpon_flow, with the usual module and with one that counts nothing.
# --write then puts the table into docs/results/counter-cost.md.
#
# --trace-events and --counters exclude each other, --check and --update.
set -eu
. scripts/log.sh
. scripts/packages.sh
. scripts/results.sh
. scripts/kernel/common.sh
. scripts/kernel/guest-tests.sh
. scripts/kernel/bench.sh
. scripts/kernel/bench-report.sh

refuse() {
    echo "run bench-kernel: $*" >&2
    exit 2
}

archs=()
write='' check='' update='' events='' counters='' baseline=bench/baseline-guest.json
while [ $# -gt 0 ]; do
    case $1 in
    arm64 | x86_64) archs+=("$1") ;;
    --write) write=1 ;;
    --update) update=1 ;;
    --trace-events) events=1 ;;
    --counters) counters=1 ;;
    --check)
        check=1
        case ${2:-} in *.json) baseline=$2 && shift ;; esac
        ;;
    *) refuse "there is no '$1', see the head of scripts/run/bench-kernel.sh" ;;
    esac
    shift
done
if [ -n "$events$counters" ] && [ "$events$counters$check$update" != 1 ]; then
    refuse "--trace-events and --counters exclude each other, --check and --update"
fi
[ ${#archs[@]} -gt 0 ] || archs=(arm64)

need kernel cross build guest-bench
for arch in "${archs[@]}"; do
    prepare_bench "$arch"
done

if [ -n "$events" ]; then
    logs=()
    for arch in "${archs[@]}"; do
        logs+=("$arch=$GPON_BUILD_DIR/logs/guest-events-$arch.log")
        step "events-$arch" boot_bench_guest "$arch" "${logs[-1]#*=}" \
            cases=trace_events frames=800 repeats=1
    done
    event_section "${logs[@]}" | if [ -n "$write" ]; then
        write_result trace-event-cost 'Cost of the trace events'
    else
        cat
    fi
    exit 0
fi

# The guarded cases alone, with a few frames each.
guarded=("cases=bridge,gpon_flow" counts=8 frames=800 repeats=1)

if [ -n "$counters" ]; then
    figures=()
    for arch in "${archs[@]}"; do
        figures+=("$GPON_BUILD_DIR/bench/guest-"{countless,counting}"-$arch.json")
        prepare_countless_bench "$arch"
        bench_guest=countless step "countless-$arch" boot_bench "$arch" "${figures[-2]}" "${guarded[@]}"
        step "counting-$arch" boot_bench "$arch" "${figures[-1]}" "${guarded[@]}"
    done
    # Not through a pipe, which hides a failure.
    section=$(counter_section "${figures[@]}")
    if [ -n "$write" ]; then
        write_result counter-cost 'Cost of the counters' <<<"$section"
    else
        echo "$section"
    fi
    exit 0
fi

if [ -n "$check$update" ]; then
    figures=()
    for arch in "${archs[@]}"; do
        figures+=("$GPON_BUILD_DIR/bench/guest-guard-$arch.json")
        step "guard-$arch" boot_bench "$arch" "${figures[-1]}" "${guarded[@]}"
    done
    [ -z "$update" ] || python3 scripts/kernel/guest-figures.py update "$baseline" "${figures[@]}"
    [ -z "$check" ] || python3 scripts/kernel/guest-figures.py check "$baseline" "${figures[@]}"
    [ -n "$write" ] || exit 0
fi

figures=()
for arch in "${archs[@]}"; do
    figures+=("$GPON_BUILD_DIR/bench/guest-$arch.json")
    step "bench-$arch" boot_bench "$arch" "${figures[-1]}"
    show_guest_figures "${figures[-1]}"
done
cp "${figures[0]}" "$GPON_BUILD_DIR/bench/guest.json"
if [ -n "$write" ]; then
    guest_section "${figures[@]}" |
        write_result frame-instructions 'Instructions per frame in a kernel'
fi
