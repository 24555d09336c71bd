# SPDX-License-Identifier: GPL-2.0-only
# [--write] [CHANGES=N] [PROCESSES=N] look for rules that outlive the change of their graph, 1000000 times each
#
# The thread tests do the same, less often. PROCESSES share the changes of the test in which each copy of
# user memory takes a millisecond. --write puts the result into docs/results/stale-rules.md.
set -eu
. scripts/build.sh
. scripts/results.sh

write='' changes=1000000 processes=$((2 * $(nproc)))
for word in "$@"; do
    case $word in
    --write) write=1 ;;
    CHANGES=[1-9]*) changes=${word#*=} ;;
    PROCESSES=[1-9]*) processes=${word#*=} ;;
    *)
        echo "run test-stale-rules: '$word' is neither --write nor CHANGES=N nor PROCESSES=N" >&2
        exit 2
        ;;
    esac
done
case $changes$processes in
*[!0-9]*)
    echo "run test-stale-rules: CHANGES and PROCESSES are numbers" >&2
    exit 2
    ;;
esac

logs=$GPON_BUILD_DIR/logs
rows=()
failed=0

# NUMBER TEST CHANGES: one process. A filter that fits no test passes as well, so its line is required.
one_process() {
    local log=$logs/stale-rules-$2-$1.log
    GPON_CHANGES=$3 "$(preset_dir release)/bin/thread_tests" \
        --gtest_filter="outcome_threads.$2" >"$log" 2>&1 </dev/null &&
        grep -q '^\[  PASSED  \] 1 test\.' "$log"
}

# TEST PROCESSES TITLE: its changes, shared by the processes.
measure() {
    local name=$1 count=$2 each result=none start=$SECONDS i process others=()
    each=$(((changes + count - 1) / count))
    for ((i = 1; i <= count; i++)); do
        one_process "$i" "$name" "$each" &
        others+=($!)
    done
    for process in "${others[@]}"; do
        wait "$process" || result=FOUND
    done
    if [ "$result" != none ]; then
        grep -h -A6 ' Failure$' "$logs/stale-rules-$name-"*.log | head -n 40
        failed=1
    fi
    rows+=("| \`$name\` | $3 | $((each * count)) | $count | $result | $((SECONDS - start)) s |")
    echo "${rows[-1]}"
}

step release build_preset release thread_tests
rm -f "$logs"/stale-rules-*.log
measure no_rule_outlives_the_command_that_changed_its_graph 1 "pairs of commands beside frames that learn"
measure no_rule_outlives_a_command_that_waits_for_user_memory "$processes" \
    "the same, each copy of user memory takes 1 ms"
measure each_result_is_one_of_the_store_during_the_call 1 "changes beside frames of two threads"
if [ -n "$write" ]; then
    {
        echo 'The tests change the graph while frames pass. They look for a rule, or a remembered outcome, that was'
        echo 'learnt before a change and is used after it: a stale one.'
        echo
        echo '| test | changes | number | processes | stale | time |'
        echo '|---|---|---|---|---|---|'
        printf '%s\n' "${rows[@]}"
        # shellcheck disable=SC2016 # the marks of a command in a document
        printf '\nMeasured by `./run test-stale-rules --write`.\n'
    } | write_result stale-rules 'Stale rules'
fi
exit "$failed"
