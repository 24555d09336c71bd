# SPDX-License-Identifier: GPL-2.0-only
# [STEP...] run all test steps, or: release asan tsan clang lint fuzz bench kernel bench-kernel
set -eu
. scripts/build.sh

# Sanitizer checks beyond the defaults; a report always ends the program.
export ASAN_OPTIONS=detect_stack_use_after_return=1:strict_string_checks=1
export UBSAN_OPTIONS=print_stacktrace=1
export TSAN_OPTIONS=second_deadlock_stack=1

all_steps=(release asan tsan clang lint fuzz bench kernel bench-kernel)

# ctest_in PRESET [CTEST-ARGUMENT...]: the log contains only failed tests.
run_ctest() {
    local status=0
    "${GPON_THROUGH[@]}" ctest --test-dir "$(preset_dir "$1")" --output-on-failure --no-tests=error --timeout 300 \
        --parallel "$GPON_JOBS" "${@:2}" >"$GPON_BUILD_DIR/logs/$1.ctest.all.log" 2>&1 || status=$?
    grep -Ev '^ +Start +[0-9]+:|^ *[0-9]+/[0-9]+ Test +#[0-9]+: .* Passed ' \
        "$GPON_BUILD_DIR/logs/$1.ctest.all.log"
    return "$status"
}

ctest_in() {
    step "$1.ctest" run_ctest "$@" &&
        grep -hE 'tests passed|^Total Test time' "$GPON_BUILD_DIR/logs/$1.ctest.log" |
        sed 's/^/    /' && no_skipped "$1"
}

# A test that lacks a program or a fetched file is skipped. A test server installs and fetches all of
# them, so no test of the tool and the report is skipped there. Others need root.
no_skipped() {
    local skipped
    skipped=$(sed -nE 's/^[[:space:]]*[0-9]+ - (.*) \(Skipped\)$/\1/p' "$GPON_BUILD_DIR/logs/$1.ctest.log")
    [ -n "$skipped" ] || return 0
    printf '    SKIPPED: %s\n' "$(paste -sd ' ' <<<"$skipped")"
    if [ -n "${CI:-}" ] && grep -qE '^(tool|report)\.' <<<"$skipped"; then
        echo '    FAILED: with CI set, these tests are required'
        return 1
    fi
}

# Files of npm packages. Without them, the tests that need them are skipped. The Debian package npm
# conflicts with the node of other sources, which has the command too.
fetch_npm_files() {
    local name
    command -v npm >/dev/null || need npm || true
    for name in axe sarif; do
        scripts/npm-file.sh --fetch "$name" >/dev/null ||
            echo "    a test is skipped: it needs $name of scripts/npm-file.sh"
    done
}

# The HTML report is tested in a real browser.
run_release() {
    fetch_npm_files
    need graph browser fleet && step release build_preset release && ctest_in release
}

run_asan() {
    step asan build_preset asan && ctest_in asan --label-exclude '^fuzz$'
}

# gcc's ThreadSanitizer does not start on kernels with too much address randomization.
run_tsan() {
    local GPON_THROUGH=()
    if setarch "$(uname -m)" --addr-no-randomize true 2>/dev/null; then
        GPON_THROUGH=(setarch "$(uname -m)" --addr-no-randomize)
    fi
    step tsan build_preset tsan && ctest_in tsan
}

# Compiles only: the compiler checks the lock contracts.
run_clang() {
    step clang build_preset clang gpon_core gpon_host
}

# Each fuzzer for ten seconds, with its committed corpus. The step asan has built them.
run_fuzz() {
    step fuzz build_preset fuzz fuzzers && ctest_in fuzz --label-regex '^fuzz$' --verbose &&
        awk '{ number = $1 + 0 }
            /^[0-9]+: Test command: / { name[number] = $4; sub(/.*\/fuzz_/, "", name[number]) }
            /number_of_executed_units/ {
                printf "    %-10s %8d executions without a finding\n", name[number], $NF
            }' "$GPON_BUILD_DIR/logs/fuzz.ctest.all.log"
}

# The static checks but clang-tidy of the tools and tests, which takes long. Those that use one processor
# for long, such as the unpacking of the kernel's source for checkpatch, run beside the others.
run_lint() {
    local beside log=$GPON_BUILD_DIR/logs/lint-beside.log status=0
    bash scripts/run/lint.sh shell checkpatch sparse >"$log" 2>&1 &
    beside=$!
    bash scripts/run/lint.sh format python spelling licences commits cppcheck analyzer tidy || status=1
    wait "$beside" || status=1
    cat "$log"
    return "$status"
}

# Instructions and allocations of the benchmarks' loops against the baseline.
run_bench() {
    bash scripts/run/bench-check.sh
}

# The modules in real kernels; prints a line for each of its steps.
run_kernel() {
    bash scripts/run/test-kernel.sh
}

# Instructions per frame in a kernel, for bridge and gpon_flow only, against the baseline.
run_bench-kernel() {
    bash scripts/run/bench-kernel.sh arm64 x86_64 --check
}

# All packages are installed first, because steps that run at the same time cannot both use apt.
groups_of_step() {
    case $1 in
    # A server that listens is not installed on a developer's machine: its test is skipped there.
    release) echo build test cross graph browser fleet ${CI:+fleet-hosts} ;;
    tsan) echo build test ;;
    asan | clang | fuzz) echo build test clang ;;
    lint) echo build test clang format lint kernel ;;
    bench) echo build test cross bench ;;
    kernel) echo build cross kernel ;;
    bench-kernel) echo build cross kernel guest-bench ;;
    esac
}

# run_steps FILE STEP...: writes the names of failed steps to FILE.
run_steps() {
    local name
    for name in "${@:2}"; do
        "run_$name" || echo "$name" >>"$1"
    done
}

# The guests use little more than one processor, so they run beside the other steps, in a process
# group that is ended with this one. Their output is shown at the end. They take longer than the other
# steps and have time limits, so the others run at a lower priority.
run_side_by_side() {
    local guests log=$GPON_BUILD_DIR/logs/guests.log
    echo "meanwhile, with output in $log: ${guest_steps[*]}"
    set -m
    run_steps "$failures" "${guest_steps[@]}" >"$log" 2>&1 </dev/null &
    guests=$!
    set +m
    # shellcheck disable=SC2064 # the process group of now
    trap "kill -- -$guests 2>/dev/null; exit 130" INT TERM
    (
        renice -n 5 -p "$BASHPID" >/dev/null || true
        run_steps "$failures" "${host_steps[@]}"
    )
    wait "$guests" || true
    trap - INT TERM
    cat "$log"
}

compile_together
if [ $# = 0 ]; then
    set -- "${all_steps[@]}"
fi
host_steps=()
guest_steps=()
groups=()
for name in "$@"; do
    if [[ " ${all_steps[*]} " != *" $name "* ]]; then
        echo "run test: no step '$name'" >&2
        exit 2
    fi
    case $name in
    *kernel) guest_steps+=("$name") ;;
    *) host_steps+=("$name") ;;
    esac
    read -r -a groups <<<"${groups[*]} $(groups_of_step "$name")"
done
need "${groups[@]}"

mkdir -p "$GPON_BUILD_DIR/logs"
failures=$GPON_BUILD_DIR/logs/failed-steps
: >"$failures"
if [ ${#guest_steps[@]} != 0 ] && [ ${#host_steps[@]} != 0 ]; then
    run_side_by_side
else
    run_steps "$failures" "$@"
fi

if [ -s "$failures" ]; then
    echo "FAILED after $SECONDS s: $(paste -sd ' ' "$failures")"
    exit 1
fi
echo "all passed in $SECONDS s: $*"
