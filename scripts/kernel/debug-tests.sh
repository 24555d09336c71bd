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
            bash scripts/kernel/initramfs.sh "$arch" "$kernel-initramfs.gz" \
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
        bash scripts/kernel/boot.sh "$arch" "$kernel-initramfs.gz" \
        "tests=$(IFS=,; echo "$*")" "${guest_words[@]}" >"$log" 2>&1 || true
    show_guest_log "$log" "$arch"
    guest_log_is_good "$log" "$@"
}

# ARCH TEST...: memory, locks, leaks and failing calls.
run_kasan_tests() {
    local arch=$1 name status=0 patient=() others=()
    shift
    for name in "$@"; do
        case $name in
        time/*) patient+=("$name") ;;
        *) others+=("$name") ;;
        esac
    done
    boot_debug "$arch" kasan detectors real debug/detectors || status=1
    boot_debug "$arch" kasan lock-detectors real debug/lock_detectors || status=1
    boot_debug "$arch" kasan lock-nesting real debug/lock_nesting || status=1
    boot_debug "$arch" kasan suite real debug/leaks_before "${others[@]}" debug/failing_calls \
        debug/leaks_after || status=1
    boot_debug "$arch" kasan time instructions "${patient[@]}" || status=1
    return "$status"
}

# ARCH TEST...: races, which need two processors.
run_kcsan_tests() {
    local arch=$1 name status=0 others=()
    shift
    for name in "$@"; do
        case $name in
        time/*) ;;
        *) others+=("$name") ;;
        esac
    done
    # The allocator path of production: freed blocks are overwritten, a block each millisecond is guarded.
    local guest_words=("${guest_words[@]}" slub_debug=P kfence.sample_interval=1)
    boot_debug "$arch" kcsan detectors real debug/race_detector debug/guard_detector || status=1
    boot_debug "$arch" kcsan suite real "${others[@]}" debug/watched || status=1
    return "$status"
}

# ARCH FLAVOUR: summary of the boots of a flavour.
debug_summary() {
    cat "$GPON_BUILD_DIR/logs/debug-$1-$2-"*.log | python3 scripts/kernel/guest_log.py summary "$1 $2"
}
