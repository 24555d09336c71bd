# SPDX-License-Identifier: GPL-2.0-only
# [TARGET=... [SECONDS=...]] run a fuzzer; without TARGET list the fuzzers
set -eu
. scripts/build.sh

TARGET=
seconds=60
for word in "$@"; do
    case $word in
    TARGET=*) TARGET=${word#*=} ;;
    SECONDS=*) seconds=${word#*=} ;;
    *)
        echo "run fuzz: '$word' is neither TARGET=... nor SECONDS=..." >&2
        exit 2
        ;;
    esac
done

list_targets() {
    local name
    echo "usage: ./run fuzz TARGET=... [SECONDS=60]"
    echo
    sed -nE 's/^gpon_fuzzer\(([a-z]+).*/\1/p' fuzz/CMakeLists.txt | while read -r name; do
        printf '  %-10s %s\n' "$name" "$(sed -n '2s|^// *||p' "fuzz/$name.cpp")"
    done
}

# corpus_of NAME: the committed inputs that a run starts from, as fuzz/CMakeLists.txt has them.
corpus_of() {
    sed -nE "s/^gpon_fuzzer\($1 [0-9]+ CORPUS ([^)]*)\)/\1/p" fuzz/CMakeLists.txt |
        sed 's/ LIBRARIES.*//'
}

# longest_of NAME: maximum number of bytes of an input.
longest_of() {
    sed -nE "s/^gpon_fuzzer\($1 ([0-9]+) .*/\1/p" fuzz/CMakeLists.txt
}

if [ -z "$TARGET" ]; then
    list_targets
    exit 0
fi
read -r -a corpus <<<"$(corpus_of "$TARGET")"
if [ ${#corpus[@]} = 0 ]; then
    echo "run fuzz: there is no target '$TARGET'" >&2
    list_targets >&2
    exit 2
fi
case $seconds in
'' | *[!0-9]*)
    echo "run fuzz: SECONDS is a number, not '$seconds'" >&2
    exit 2
    ;;
esac

need_for fuzz
step fuzz build_preset fuzz "fuzz_$TARGET"
dir=$(preset_dir fuzz)
found=$dir/fuzz/found/$TARGET
mkdir -p "$found"
log=$GPON_BUILD_DIR/logs/fuzz-$TARGET.log
status=0
"$dir/bin/fuzz_$TARGET" -max_total_time="$seconds" -timeout=20 -max_len="$(longest_of "$TARGET")" \
    -print_final_stats=1 -rss_limit_mb=1024 -artifact_prefix="$dir/fuzz/$TARGET-" "$found" \
    "${corpus[@]}" >"$log" 2>&1 </dev/null || status=$?
if [ "$status" != 0 ]; then
    tail -n 60 "$log"
    echo "FOUND something: the input is named above, the whole output is in $log" >&2
    exit 1
fi
awk '/number_of_executed_units/ { runs = $2 } /^Done/ { print } / cov: / { last = $0 }
    END { print last; print runs " executions without a finding" }' "$log"
