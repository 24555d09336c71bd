# SPDX-License-Identifier: GPL-2.0-only
# [TARGET=... [SECONDS=...]] [--write] run a fuzzer; without TARGET list the fuzzers
#
# --write, without TARGET, puts the last run of each fuzzer into docs/results/fuzzers.md.
set -eu
. scripts/build.sh
. scripts/results.sh

TARGET=
seconds=60
write=
rows=$GPON_BUILD_DIR/fuzz-results
for word in "$@"; do
    case $word in
    TARGET=*) TARGET=${word#*=} ;;
    SECONDS=*) seconds=${word#*=} ;;
    --write) write=1 ;;
    *)
        echo "run fuzz: '$word' is neither TARGET=... nor SECONDS=... nor --write" >&2
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

write_rows() {
    {
        printf '%s\n' '| target | time | inputs | inputs/s | load | covered edges | findings |' \
            '|---|---|---|---|---|---|---|'
        cat "$rows"/*
        printf '\nLoad: processes that were ready to run, before and after the run, on %s cores.\n' \
            "$(nproc)"
        echo 'Covered edges: of the corpus, after a quarter of the inputs, after half of them, at the end.'
        # shellcheck disable=SC2016 # the marks of a command in a document
        printf '\nMeasured by `./run fuzz TARGET=... SECONDS=...`, written by `./run fuzz --write`.\n'
    } | write_result fuzzers Fuzzers
}

if [ -z "$TARGET" ]; then
    if [ -n "$write" ]; then
        write_rows
    else
        list_targets
    fi
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
load_before=$(machine_load)
"$dir/bin/fuzz_$TARGET" -max_total_time="$seconds" -timeout=20 -max_len="$(longest_of "$TARGET")" \
    -print_final_stats=1 -rss_limit_mb=1024 -artifact_prefix="$dir/fuzz/$TARGET-" "$found" \
    "${corpus[@]}" >"$log" 2>&1 </dev/null || status=$?
if [ "$status" != 0 ]; then
    tail -n 60 "$log"
    echo "FOUND something: the input is named above, the whole output is in $log" >&2
    exit 1
fi
mkdir -p "$rows"
python3 scripts/fuzz-row.py "$TARGET" "$seconds" "$load_before to $(machine_load)" <"$log" >"$rows/$TARGET"
awk '/number_of_executed_units/ { runs = $2 } /^Done/ { print } / cov: / { last = $0 }
    END { print last; print runs " executions without a finding" }' "$log"
