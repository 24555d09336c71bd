# SPDX-License-Identifier: GPL-2.0-only
# [STEP...] build and test in every configuration: release asan tsan clang
set -eu
. scripts/build.sh

# What the test programs say beyond their defaults; a finding ends the program in any case.
export ASAN_OPTIONS=detect_stack_use_after_return=1:strict_string_checks=1
export UBSAN_OPTIONS=print_stacktrace=1
export TSAN_OPTIONS=second_deadlock_stack=1

failed=()

# ctest_in PRESET [CTEST-ARGUMENT...]: the runner's own closing lines are shown.
ctest_in() {
    local name=$1.ctest status=0
    step "$name" ctest --test-dir "$(preset_dir "$1")" --output-on-failure --no-tests=error \
        --timeout 300 --parallel "$GPON_JOBS" "${@:2}" || status=$?
    sed -n '/tests passed,/,$p' "$GPON_BUILD_DIR/logs/$name.log" | sed '/^$/d; s/^/    /'
    return "$status"
}

run_release() {
    step release build_preset release && ctest_in release
}

run_asan() {
    step asan build_preset asan && ctest_in asan
}

# Scenarios have one thread: ThreadSanitizer has nothing to find in them.
run_tsan() {
    step tsan build_preset tsan && ctest_in tsan --label-regex 'unit|threads|tsan'
}

# Compiles only: the analysis of the lock contracts happens there.
run_clang() {
    step clang build_preset clang gpon_core gpon_host
}

need build test cross clang
if [ $# = 0 ]; then
    set -- release asan tsan clang
fi
for name in "$@"; do
    case $name in
    release | asan | tsan | clang) "run_$name" || failed+=("$name") ;;
    *)
        echo "run test: no step '$name'" >&2
        exit 2
        ;;
    esac
done

if [ "${#failed[@]}" != 0 ]; then
    echo "FAILED after $SECONDS s: ${failed[*]}"
    exit 1
fi
echo "all passed in $SECONDS s: $*"
