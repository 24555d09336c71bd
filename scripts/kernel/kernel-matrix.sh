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
    prepare_guest "$kernel" || return 1
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

# KERNEL TESTS-RUN TESTS: its row. Modules that do not build without a warning have no results.
matrix_row() {
    local results passed failed seconds
    results=$(matrix_tests "$1")
    if [ ! -f "$results" ]; then
        echo "| $1 | | | no | | | | |"
        return
    fi
    passed=$(grep -cE "^  $1 +[^ ]+ +ok " "$results") || true
    failed=$(awk -v kernel="$1" '$1 == kernel && $3 == "FAILED" {print $2}' "$results" | xargs)
    seconds=$(awk -v kernel="$1" '$1 == kernel && $NF == "s" {n += $(NF - 1)} END {print n + 0}' \
        "$results")
    echo "| $1 | $(kernel_release "$1") | $(kernel_traits "$1") | yes |" \
        "$2 of $3 | $passed | ${failed:-none} | $seconds s |"
}

matrix_head() {
    echo "| kernel | release | features | builds | tests run | passed | failed | time in the guest |"
    echo "|---|---|---|---|---|---|---|---|"
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
warning of the compiler, objtool or modpost. `./run test-kernel KERNEL` runs the tests of one row. In
the names, `rt` is PREEMPT_RT and `newest` is the kernel of Debian's development suite.

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
