# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash
#
# Measures the cost of a frame in a guest whose clock counts instructions. Sourced in the root of the
# tree, after log.sh, common.sh and guest-tests.sh.

bench_modules="act_skbedit crc32c_generic openvswitch"

bench_program() {
    "$(cross_prefix "$1")gcc" -std=gnu11 -O2 -Wall -Wextra -Werror -static -o "$2" \
        tests/kernel/bench/frame_source.c
}

# ARCH [NAME]
bench_initramfs() {
    local arch=$1 here=$GPON_KERNEL_DIR/$1
    GPON_GUEST_MODULES=$bench_modules bash scripts/kernel/initramfs.sh "$arch" "$here/${2:-bench}.cpio" \
        "$here/frame_source" "$here/tool/bin/gponflow" \
        "$(kernel_root "$arch")/usr/bin/ovs-dpctl=/sbin/ovs-dpctl"
}

# ARCH: builds all parts of the guest.
prepare_bench() {
    local here=$GPON_KERNEL_DIR/$1
    step "fetch-$1" bash scripts/kernel/fetch.sh "$1" &&
        step "bench-fetch-$1" bash scripts/kernel/bench-fetch.sh "$1" &&
        step "modules-$1" bash scripts/kernel/build.sh "$1" &&
        step "source-$1" bench_program "$1" "$here/frame_source" &&
        step "tool-$1" bash scripts/kernel/tool.sh "$1" "$here/tool" &&
        step "initramfs-$1" bench_initramfs "$1"
}

# ARCH: builds a guest "countless" whose module counts nothing; prepare_bench has built its other parts.
prepare_countless_bench() {
    local folder=$GPON_KERNEL_DIR/$1/countless-modules
    step "modules-countless-$1" bash scripts/kernel/build.sh "$1" "$(kernel_headers "$1")" "$folder" \
        "$PWD/tests/kernel/bench/without_counts.h" &&
        GPON_MODULES=$folder step "initramfs-countless-$1" bench_initramfs "$1" countless
}

# ARCH GUEST-OUTPUT: prints the figures as one record.
bench_record() {
    python3 scripts/kernel/guest-figures.py record "$1" "$(kernel_version "$1")" \
        "$("$(cross_prefix "$1")g++" -dumpfullversion)" <"$2"
}

# ARCH LOG [WORD...]: one boot, with WORDs on the kernel command line; LOG gets the guest's output. The guest
# is that of $bench_guest, or the usual one.
boot_bench_guest() {
    local arch=$1 log=$2
    shift 2
    mkdir -p "${log%/*}"
    GPON_GUEST_CLOCK=instructions GPON_GUEST_SECONDS=${GPON_GUEST_SECONDS:-1200} \
        bash scripts/kernel/boot.sh "$arch" "$GPON_KERNEL_DIR/$arch/${bench_guest:-bench}.cpio" script=bench/bench \
        "$@" >"$log" 2>&1 </dev/null || true
    tail -n 20 "$log"
    if ! tr -d '\r' <"$log" | grep -q '^@@ done 0$'; then
        echo "the guest did not come to its end, its whole output is in $log"
        return 1
    fi
}

# ARCH RECORD [WORD...]: the same; the figures go to RECORD.
boot_bench() {
    local arch=$1 record=$2 log=$GPON_BUILD_DIR/logs/guest-bench-$1.log
    shift 2
    mkdir -p "${record%/*}"
    boot_bench_guest "$arch" "$log" "$@" || return
    bench_record "$arch" "$log" >"$record.new" && mv "$record.new" "$record"
}
