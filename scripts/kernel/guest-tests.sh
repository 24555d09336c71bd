# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash
#
# Runs guest tests and prints the result of each. Sourced in the root of the tree, after log.sh and
# common.sh. A test is a file tests/kernel/NAME.sh. Tests in time/ wait for minutes: they run in a
# separate boot in which idle time passes at once. Tests in panic/ stop the kernel: each has its own
# boot. Tests in debug/ are for debug kernels (debug-tests.sh).

# Further words for the kernel command line; the guest's init gets them as variables.
guest_words=()

# Memory is not cleared, so that a read beyond the end of a packet does not find zeros. The allocator
# overwrites freed blocks and checks them and the bytes around them.
dirty_memory=(init_on_alloc=0 slub_debug=FZP)

all_guest_tests() {
    find tests/kernel -name '*.sh' -not -path '*/bench/*' -not -path '*/debug/*' \
        -not -path '*/panic/*' -printf '%P\n' |
        sed 's/\.sh$//' | sort
}

all_panic_tests() {
    find tests/kernel -path '*/panic/*.sh' -printf '%P\n' | sed 's/\.sh$//' | sort
}

# KERNEL: its file; GPON_INITRAMFS is the one for another kernel.
guest_initramfs() {
    echo "${GPON_INITRAMFS:-$(kernel_dir "$1")/initramfs.cpio}"
}

# KERNEL: builds all parts of a guest; "preparing" is the step that failed. The programs depend on the
# architecture only. GPON_KERNEL_BUILD is the build folder of another kernel of this architecture.
prepare_guest() {
    local kernel=$1 name=${1//\//-} arch programs tool
    arch=$(arch_of "$1")
    programs=$GPON_KERNEL_DIR/$arch/programs
    tool=$GPON_KERNEL_DIR/$arch/tool
    preparing=fetch
    # shellcheck disable=SC2034 # for the caller
    step "fetch-$name" bash scripts/kernel/fetch.sh "$kernel" &&
        preparing=modules &&
        step "modules-$name" bash scripts/kernel/build.sh "$kernel" \
            ${GPON_KERNEL_BUILD:+"$GPON_KERNEL_BUILD" "$GPON_MODULES"} &&
        preparing=guest &&
        step "programs-$arch" bash scripts/kernel/programs.sh "$arch" "$programs" &&
        step "tool-$arch" bash scripts/kernel/tool.sh "$arch" "$tool" &&
        step "initramfs-$name" bash scripts/kernel/initramfs.sh "$kernel" \
            "$(guest_initramfs "$kernel")" "$programs"/* "$tool/bin/gponflow"
}

# LOG KERNEL: prints a line for each test, with its notes if it passed, otherwise with its output.
show_guest_log() {
    python3 scripts/kernel/guest_log.py tests "$2" <"$1"
}

# LOG TEST...: whether each test started and passed, and the guest powered off.
guest_log_is_good() {
    local log=$1 wanted good=0
    shift
    for wanted in "$@" ; do
        tr -d '\r' <"$log" | grep -q "^@@ end $wanted 0 " || good=1
    done
    if grep -q '^@@ the kernel complained' "$log"; then
        good=1
    fi
    if ! grep -q '^@@ done' "$log"; then
        echo "  the guest did not end in order, its whole output is in $log"
        good=1
    fi
    return "$good"
}

# LOG TEST...: whether the JSON documents that the tool printed in the guest fit their schemas.
guest_json_is_good() {
    local log=$1
    shift
    [[ " $* " != *" tool_live "* ]] ||
        python3 scripts/kernel/check-json.py "$log" gponflow-change-1 gponflow-commands-1 \
            gponflow-counters-1 gponflow-explain-1 gponflow-instances-1 gponflow-message-1 \
            gponflow-report-1 gponflow-rules-1 gponflow-run-1 gponflow-status-1 gponflow-trace-1 \
            gponflow-watch-1
}

# KERNEL BOOT: the file with the output of a guest.
guest_log() {
    echo "$GPON_BUILD_DIR/logs/guest-${1//\//-}-${2//\//-}.log"
}

# KERNEL CLOCK TEST...: one boot.
boot_guest_tests() {
    local kernel=$1 clock=$2 log
    log=$(guest_log "$1" "$2")
    shift 2
    mkdir -p "${log%/*}"
    GPON_GUEST_CLOCK=$clock GPON_GUEST_SECONDS=${GPON_GUEST_SECONDS:-1800} \
        bash scripts/kernel/boot.sh "$kernel" "$(guest_initramfs "$kernel")" \
        "tests=$(IFS=,; echo "$*")" "${dirty_memory[@]}" "${guest_words[@]}" >"$log" 2>&1 || true
    show_guest_log "$log" "$kernel"
    guest_log_is_good "$log" "$@" && guest_json_is_good "$log" "$@"
}

# LOG TEST: whether the kernel panicked in the test with the message that the test's file names.
panicked_as_expected() {
    local words
    words=$(sed -n 's/^# panics: //p' "tests/kernel/$2.sh")
    [ -n "$words" ] && tr -d '\r' <"$1" | grep -q "^@@ begin $2\$" &&
        grep -qF "Kernel panic - not syncing: $words" "$1" &&
        ! grep -qE '^@@ (end|done|the kernel complained)' "$1"
}

# KERNEL TEST: one boot that the test ends.
boot_panic_test() {
    local kernel=$1 name=$2 log start=$SECONDS result=ok
    log=$(guest_log "$1" "$2")
    GPON_GUEST_SECONDS=300 bash scripts/kernel/boot.sh "$kernel" \
        "$(guest_initramfs "$kernel")" "tests=$name" >"$log" 2>&1 || true
    panicked_as_expected "$log" "$name" || result=FAILED
    printf '  %-14s %-32s %-6s %4d s\n' "$kernel" "$name" "$result" $((SECONDS - start))
    [ "$result" = ok ] || { tail -n 40 "$log" && return 1; }
}

# KERNEL TEST...
run_guest_tests() {
    local kernel=$1 name patient=() others=() stopping=() status=0
    shift
    for name in "$@"; do
        case $name in
        panic/*) stopping+=("$name") ;;
        time/*) patient+=("$name") ;;
        *) others+=("$name") ;;
        esac
    done
    if [ ${#others[@]} != 0 ]; then
        boot_guest_tests "$kernel" real "${others[@]}" || status=1
    fi
    if [ ${#patient[@]} != 0 ]; then
        boot_guest_tests "$kernel" instructions "${patient[@]}" || status=1
    fi
    for name in "${stopping[@]}"; do
        boot_panic_test "$kernel" "$name" || status=1
    done
    return "$status"
}
