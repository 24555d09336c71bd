# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash
#
# The result of the guest tests on several kernels, as a table. Sourced in the root of the tree, after
# guest-tests.sh and results.sh.

matrix_document=docs/results/kernel-matrix.md

# KERNEL: the printed results of its guest tests.
matrix_tests() {
    echo "$GPON_BUILD_DIR/logs/tests-${1//\//-}.txt"
}

# KERNEL TEST...: builds and tests, and keeps the printed results.
test_kernel() {
    local kernel=$1 status=0
    shift
    rm -f "$(matrix_tests "$kernel")"
    prepare_guest "$kernel" || return
    run_guest_tests "$kernel" "$@" 2>&1 | tee "$(matrix_tests "$kernel")"
    status=${PIPESTATUS[0]}
    return "$status"
}

kernel_release() {
    if [ -n "${GPON_KERNEL_BUILD:-}" ]; then
        cat "$GPON_KERNEL_BUILD/include/config/kernel.release"
    else
        kernel_version "$1"
    fi
}

# HEADERS OPTION: whether a kernel has an option.
has_option() {
    grep -q "^CONFIG_$2=y" "$1/include/config/auto.conf"
}

# KERNEL: what distinguishes it from the others.
kernel_traits() {
    local headers traits=()
    headers=${GPON_KERNEL_BUILD:-$(kernel_headers "$1")}
    ! has_option "$headers" PREEMPT_RT || traits+=(PREEMPT_RT)
    ! has_option "$headers" ARM64_16K_PAGES || traits+=("16 KiB pages")
    ! has_option "$headers" KASAN || traits+=(KASAN)
    ! has_option "$headers" KCSAN || traits+=(KCSAN)
    printf '%s' "${traits[0]-}"
    [ ${#traits[@]} -le 1 ] || printf ', %s' "${traits[@]:1}"
}

# RESULTS KERNEL: the tests that passed but left something out.
left_out_of() {
    awk -v kernel="$2" '$1 == kernel {name = $3 == "ok" ? $2 : ""}
        name && /^    left out: / {print name ; name = ""}' "$1" | xargs
}

# RESULTS KERNEL TEST...: the tests that did not pass, also those that never began.
failed_of() {
    local results=$1 kernel=$2
    shift 2
    comm -23 <(printf '%s\n' "$@" | sort) \
        <(awk -v kernel="$kernel" '$1 == kernel && $3 == "ok" {print $2}' "$results" | sort) | xargs
}

# KERNEL: the row of one whose guest was not prepared. Modules that do not build without a warning have no
# results.
unprepared_row() {
    # shellcheck disable=SC2154 # of prepare_guest
    case $preparing in
    fetch) echo "| $1 | | | not fetched | | | | | | $(source_state) |" ;;
    modules) echo "| $1 | $(kernel_release "$1") | $(kernel_traits "$1") | no | | | | | | $(source_state) |" ;;
    *) echo "| $1 | $(kernel_release "$1") | $(kernel_traits "$1") | yes | no guest | | | | | $(source_state) |" ;;
    esac
}

# KERNEL STATUS TESTS TEST...: its row. STATUS is that of the run, TESTS the number of all tests. A run may
# fail although each test passed: the kernel complained between two tests.
matrix_row() {
    local kernel=$1 status=$2 all=$3 results passed failed left_out seconds
    shift 3
    results=$(matrix_tests "$kernel")
    if [ ! -f "$results" ]; then
        unprepared_row "$kernel"
        return
    fi
    passed=$(awk -v kernel="$kernel" '$1 == kernel && $3 == "ok" {n++} END {print n + 0}' "$results")
    failed=$(failed_of "$results" "$kernel" "$@")
    [ "$status" = 0 ] || failed=${failed:-the kernel log}
    left_out=$(left_out_of "$results" "$kernel")
    seconds=$(awk -v kernel="$kernel" '$1 == kernel && $NF == "s" {n += $(NF - 1)} END {print n + 0}' \
        "$results")
    echo "| $kernel | $(kernel_release "$kernel") | $(kernel_traits "$kernel") | yes |" \
        "$# of $all | $passed | ${failed:-none} | ${left_out:-none} | $seconds s | $(source_state) |"
}

matrix_head() {
    echo "| kernel | release | features | builds | tests run | passed | failed | left something out |" \
        "time in the guest | tested |"
    echo "|---|---|---|---|---|---|---|---|---|---|"
}

# The rows of kernels that this run did not test stay in the document.
matrix_rows() {
    local rows=$1 kernel
    # shellcheck disable=SC2154 # of kernels.sh
    for kernel in "${kernel_matrix[@]}"; do
        grep -F "| $kernel |" "$rows" || grep -F "| $kernel |" "$matrix_document" 2>/dev/null || true
    done
}

# ROWS
write_matrix() {
    local rows
    rows=$(matrix_rows "$1")
    {
        cat <<'END'
The guest tests in Debian's kernels, under emulation. "Builds" is yes if both modules build without a
warning of the compiler, objtool or modpost. "Failed" are all tests that did not pass, also those that
never began. A test that "left something out" passed, but this kernel or guest lacks a part that it
needs. "Tested" is the date and the commit of the sources. `./run test-kernel KERNEL` runs the tests of
one row. In the names, `rt` is PREEMPT_RT and `newest` is the kernel of Debian's development suite.

END
        matrix_head
        echo "$rows"
        echo
        echo "Written by \`./run test-kernel --write matrix\`; names of kernels instead of \`matrix\` replace" \
            "their rows."
    } | write_result kernel-matrix "Kernels"
}

# ROWS: for a terminal.
show_matrix() {
    echo
    { matrix_head && cat "$1"; } | sed '/^|---/d; s/^| *//' | column -t -s '|'
}
