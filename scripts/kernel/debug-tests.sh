# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash
#
# Runs the guest tests on debug kernels. Sourced in the root of the tree, after guest-tests.sh. The
# detectors are tested first, in separate boots: a report changes later reports of the kernel.

# ARCH FLAVOUR: builds the kernel, its modules and all other parts of the guest.
prepare_debug_guest() {
    local arch=$1 flavour=$2 kernel folder
    local programs=$GPON_KERNEL_DIR/$arch/programs tool=$GPON_KERNEL_DIR/$arch/tool
    kernel=$(debug_kernel "$arch" "$flavour")
    folder=$kernel-modules
    # The summary covers this run only.
    rm -f "$GPON_BUILD_DIR/logs/debug-$arch-$flavour-"*.log
    step "fetch-$arch" bash scripts/kernel/fetch.sh "$arch" &&
        step "kernel-$arch-$flavour" bash scripts/kernel/debug-kernel.sh "$arch" "$flavour" &&
        step "modules-$arch-$flavour" bash scripts/kernel/build.sh "$arch" "$kernel" "$folder" &&
        step "programs-$arch" bash scripts/kernel/programs.sh "$arch" "$programs" &&
        step "tool-$arch" bash scripts/kernel/tool.sh "$arch" "$tool" &&
        GPON_KERNEL_BUILD=$kernel GPON_MODULES=$folder step "initramfs-$arch-$flavour" \
            bash scripts/kernel/initramfs.sh "$arch" "$kernel-initramfs.cpio" \
            "$programs"/* "$tool/bin/gponflow"
}

# On x86 with five levels of page tables KASAN reports all memory as wild for a moment: while the
# kernel detects the features of the processor, the five-level flag is not set.
guest_words+=(no5lvl kasan_multi_shot)

# ARCH FLAVOUR BOOT CLOCK TEST...: one boot; BOOT names its log.
boot_debug() {
    local arch=$1 flavour=$2 log=$GPON_BUILD_DIR/logs/debug-$1-$2-$3.log clock=$4 kernel
    shift 4
    [ $# != 0 ] || return 0
    kernel=$(debug_kernel "$arch" "$flavour")
    GPON_GUEST_CLOCK=$clock GPON_GUEST_MEMORY=2048 GPON_GUEST_SECONDS=${GPON_GUEST_SECONDS:-3600} \
        GPON_KERNEL_IMAGE=$(debug_image "$arch" "$flavour") \
        bash scripts/kernel/boot.sh "$arch" "$kernel-initramfs.cpio" \
        "tests=$(IFS=,; echo "$*")" "${guest_words[@]}" >"$log" 2>&1 || true
    show_guest_log "$log" "$arch"
    guest_log_is_good "$log" "$@"
}

# TEST...: those that wait for timers of minutes, whose guest skips idle time.
patient_tests() {
    printf '%s\n' "$@" | grep '^time/' || true
}

without_patient_tests() {
    printf '%s\n' "$@" | grep -v '^time/' || true
}

# ARCH TEST...: memory, locks, leaks and failing calls.
run_kasan_tests() {
    local arch=$1 status=0 patient others
    shift
    mapfile -t patient < <(patient_tests "$@")
    mapfile -t others < <(without_patient_tests "$@")
    boot_debug "$arch" kasan detectors real debug/detectors || status=1
    boot_debug "$arch" kasan lock-detectors real debug/lock_detectors || status=1
    boot_debug "$arch" kasan suite real debug/leaks_before "${others[@]}" debug/failing_calls \
        debug/leaks_after || status=1
    boot_debug "$arch" kasan time instructions "${patient[@]}" || status=1
    return "$status"
}

# ARCH TEST...: races, which need two processors.
run_kcsan_tests() {
    local arch=$1 status=0 others
    shift
    mapfile -t others < <(without_patient_tests "$@")
    # Freed blocks are overwritten, a block each millisecond is guarded.
    local guest_words=("${guest_words[@]}" slub_debug=P kfence.sample_interval=1)
    boot_debug "$arch" kcsan detectors real debug/race_detector debug/guard_detector || status=1
    boot_debug "$arch" kcsan suite real "${others[@]}" debug/watched || status=1
    return "$status"
}

# ARCH TEST...: locks that sleep under PREEMPT_RT, and records whose fields have a random order.
run_nesting_tests() {
    local arch=$1 others
    shift
    mapfile -t others < <(without_patient_tests "$@")
    # proc_at_unload needs it.
    local guest_words=("${guest_words[@]}" slub_debug=P)
    boot_debug "$arch" nesting suite real "${others[@]}" debug/lock_nesting
}

debug_document=docs/results/debug-kernels.md

# ARCH FLAVOUR: a row with the boots of a flavour.
debug_row() {
    cat "$GPON_BUILD_DIR/logs/debug-$1-$2-"*.log | python3 scripts/kernel/guest_log.py row "$1 $2"
    echo " $(source_state) |"
}

# ROWS: the rows of kernels that this run did not test stay in the document.
write_debug_rows() {
    local arch flavour rows=''
    for arch in arm64 x86_64; do
        for flavour in kasan kcsan nesting; do
            rows+=$(grep -F "| $arch $flavour |" "$1" || grep -F "| $arch $flavour |" "$debug_document")$'\n' ||
                true
        done
    done
    {
        cat <<'END'
The guest tests in kernels with the kernel's own checks, on two emulated processors. `kasan` checks memory,
locks, RCU, leaks and undefined behaviour, and lets allocations and copies fail; `kcsan` looks for races;
`nesting` checks that no lock that sleeps under PREEMPT_RT is taken under one that does not, with the fields
of the kernel's records in a random order.
"Detectors" are the checks that reported a deliberate fault before the tests. A report that names one of
the modules fails a test. "Tested" is the date and the commit of the sources.

| kernel | passed | failed | detectors | injected failures | calls in contention | time in the guest | tested |
|---|---|---|---|---|---|---|---|
END
        printf '%s' "$rows" | grep .
        # shellcheck disable=SC2016 # the marks of a command in a document
        printf '\nMeasured by `./run test-kernel-debug --write`; names of kernels replace their rows.\n'
    } | write_result debug-kernels "Debug kernels"
}

# ARCH FLAVOUR: summary of the boots of a flavour.
debug_summary() {
    cat "$GPON_BUILD_DIR/logs/debug-$1-$2-"*.log | python3 scripts/kernel/guest_log.py summary "$1 $2"
}
