# SPDX-License-Identifier: GPL-2.0-only
# [RUNS=10] [LOAD=8] [--write] [KERNEL...] [TEST...] test the modules in kernels on a machine that compiles
#
# LOAD compilers run all the time. A test that fails here and passes on an idle machine depends on time.
# --write puts the runs into docs/results/busy-machine.md.
set -eu
. scripts/log.sh
. scripts/packages.sh
. scripts/results.sh

runs=10 load=8 write='' words=()
for word in "$@"; do
    case $word in
    RUNS=*) runs=${word#*=} ;;
    LOAD=*) load=${word#*=} ;;
    --write) write=1 ;;
    *) words+=("$word") ;;
    esac
done
case $runs$load in
*[!0-9]* | '')
    echo "run test-kernel-busy: RUNS and LOAD are numbers" >&2
    exit 2
    ;;
esac

need build
compilers=()
logs=$GPON_BUILD_DIR/logs
mkdir -p "$logs"

# One source again and again, past the cache of the compiler.
compile_always() {
    while CCACHE_DISABLE=1 g++ -std=c++20 -O2 -DGPON_HOST_BUILD -I src -iquote src/pkt -c src/pkt/walk.cpp \
        -o /dev/null; do
        :
    done
}

stop_compilers() {
    local compiler
    for compiler in "${compilers[@]}"; do
        # With the compiler that it runs: each is the leader of a group.
        kill -- "-$compiler" 2>/dev/null || true
    done
}

start_compilers() {
    local i
    # Each background job gets a process group of its own.
    set -m
    for ((i = 0; i < load; i++)); do
        compile_always >"$logs/busy-$i.log" 2>&1 &
        compilers+=($!)
    done
    set +m
}

# A load without compilers would prove nothing.
compilers_run() {
    local compiler
    for compiler in "${compilers[@]}"; do
        kill -0 "$compiler" 2>/dev/null || return 1
    done
}

# KERNEL and its tests that FAILED, of the output of a run.
failures_of() {
    awk '$3 == "FAILED" && NF == 5 {print $1 ":" $2}' "$1" | xargs
}

trap stop_compilers EXIT
start_compilers
rows=() failed=0
for ((number = 1; number <= runs; number++)); do
    start=$SECONDS before=$(machine_load) log=$logs/busy-run-$number.log status=0
    ./run test-kernel "${words[@]}" >"$log" 2>&1 </dev/null || status=$?
    compilers_run || { echo "run test-kernel-busy: a compiler ended, see $logs/busy-*.log" >&2 && exit 1; }
    passed=$(awk '$3 == "ok" && NF == 5 && $5 == "s"' "$log" | wc -l)
    failures=$(failures_of "$log")
    if [ "$status" != 0 ]; then
        failures=${failures:-the run, see its log}
        failed=1
    fi
    rows+=("| $number | $passed | ${failures:-none} | $before to $(machine_load) | $((SECONDS - start)) s |")
    echo "${rows[-1]}"
done
if [ -n "$write" ]; then
    {
        echo "The guest tests beside $load compilers on $(nproc) processors: \`${words[*]:-all}\`."
        echo
        echo '| run | passed | failed | load | time |'
        echo '|---|---|---|---|---|'
        printf '%s\n' "${rows[@]}"
        # shellcheck disable=SC2016 # the marks of a command in a document
        printf '\nMeasured by `./run test-kernel-busy --write`.\n'
    } | write_result busy-machine 'Guest tests on a busy machine'
fi
exit "$failed"
