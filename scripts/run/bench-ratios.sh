# SPDX-License-Identifier: GPL-2.0-only
# [ROUNDS=15] [--write] compare measured ratios with their targets: NAME RATIO TARGET met|missed
#
# The figures behind the ratios go to build/bench/ratios.json. Instructions per frame come from
# bench-kernel, which runs first if it has no result for arm64 yet; those of x86_64 take part if it
# has measured them. --write puts the lines into docs/results/ratios.md.
set -eu
. scripts/build.sh
. scripts/bench.sh
. scripts/results.sh

rounds=15 write=''
for word in "$@"; do
    case $word in
    ROUNDS=*) rounds=${word#*=} ;;
    --write) write=1 ;;
    *)
        echo "run bench-ratios: '$word' is neither ROUNDS=... nor --write" >&2
        exit 2
        ;;
    esac
done
if ! [[ $rounds =~ ^[1-9][0-9]*$ ]]; then
    echo "run bench-ratios: ROUNDS is a number above 0, not '$rounds'" >&2
    exit 2
fi

figures=$GPON_BUILD_DIR/bench/ratios.json
# Standard output is for the ratios.
build_benchmarks gpon_ratios >&2
measure() {
    "$(preset_dir bench)/bin/gpon_ratios" "$rounds" >"$figures"
}
step ratios measure >&2
guests=("$GPON_BUILD_DIR"/bench/guest-{arm64,x86_64}.json)
if ! [ -f "${guests[0]}" ]; then
    bash scripts/run/bench-kernel.sh >&2 || echo "bench-kernel failed: no frame-vs-*" >&2
fi
figures=("$figures")
for guest in "${guests[@]}"; do
    [ ! -f "$guest" ] || figures+=("$guest")
done

lines=$(python3 scripts/bench-ratios.py "${figures[@]}")
column -t -s $'\t' <<<"$lines"
if [ -n "$write" ]; then
    ratios_section "$lines" | write_result ratios 'Ratios against targets'
fi
