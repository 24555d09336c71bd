#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: boot.sh KERNEL INITRAMFS [WORD...]
#
# Boots a kernel of fetch.sh on two processors under emulation, its serial line on
# standard output. WORDs go to the kernel's command line: NAME=VALUE becomes a variable of init.
# GPON_GUEST_SECONDS limits the time, GPON_KERNEL_IMAGE boots another kernel, GPON_GUEST_MEMORY is
# the memory in MiB. With GPON_GUEST_CLOCK=instructions the guest's clock counts instructions of one
# processor, and idle time passes at once; nothing in the guest is random, so each boot of the same
# files counts the same. GPON_GUEST_SEED is the seed of the guest's random numbers.
set -eu
cd "$(dirname "$(readlink -f "$0")")/../.."
# shellcheck source=scripts/kernel/common.sh
. scripts/kernel/common.sh

[ $# -ge 2 ] || fail "a kernel and an initramfs are needed"
need_kernel_name "$1"
kernel=$1
arch=$(arch_of "$1")
initramfs=$2
shift 2

# The decompressor in a bzImage is slow under emulation. Its payload is the kernel as an ELF file. The
# boot header contains the position of the payload, the last four bytes its unpacked size. Another
# compression than that of Debian's stable kernels is left to the kernel itself.
unpacked_x86_64() {
    local packed=$1 unpacked setup offset length
    unpacked=$(kernel_dir "$kernel")/vmlinux
    if [ ! -f "$unpacked" ]; then
        setup=$(od -An -tu1 -j $((0x1f1)) -N 1 "$packed")
        offset=$(od -An -tu4 -j $((0x248)) -N 4 "$packed")
        length=$(od -An -tu4 -j $((0x24c)) -N 4 "$packed")
        if ! tail -c +$(((setup + 1) * 512 + offset + 1)) "$packed" | head -c $((length - 4)) |
            xz -dc --single-stream >"$unpacked.new" 2>/dev/null; then
            echo "$packed"
            return
        fi
        mv "$unpacked.new" "$unpacked"
    fi
    echo "$unpacked"
}

# Whether KVM works: on some machines /dev/kvm exists but starts no guest. Tests it once with an empty
# guest.
kvm_works() {
    local record=$GPON_KERNEL_DIR/$arch/kvm
    if [ "$(uname -m)" != "$arch" ] || [ ! -w /dev/kvm ]; then
        return 1
    fi
    if [ ! -f "$record" ]; then
        if timeout 30 "$emulator" -M q35 -accel kvm -cpu host -m 512 -display none -nodefaults \
            -no-reboot -serial stdio -kernel "$image" -initrd "$initramfs" \
            -append "console=$console panic=-1 quiet" </dev/null 2>&1 | grep -q '^@@ done'; then
            echo yes >"$record"
        else
            echo no >"$record"
        fi
    fi
    [ "$(cat "$record")" = yes ]
}

# The processor of an ONU does not support pages of 16 KiB.
processor_of() {
    case $1 in
    *-16k) echo cortex-a76 ;;
    *) echo cortex-a53 ;;
    esac
}

machine() {
    local accel=(-accel "tcg,thread=multi" -smp 2)
    # Programs at random addresses are translated anew at each start: several times the time of a
    # short run of gponflow.
    words=norandmaps
    if [ "${GPON_GUEST_CLOCK:-}" = instructions ]; then
        accel=(-accel "tcg,thread=single" -smp 1 -icount "shift=0,sleep=off"
            -seed "${GPON_GUEST_SEED:-1}" -rtc "base=2024-01-01,clock=vm")
        # Copies to and from a stack cost more or less with its alignment.
        words+=" randomize_kstack_offset=off"
    else
        # A busy machine stops the guest for a minute at times, which is not a fault of the kernel.
        words+=" watchdog_thresh=60 rcupdate.rcu_cpu_stall_timeout=180"
        # Separate page tables for the kernel hide its random address on a real processor. The emulator
        # would forget all translated addresses at each system call.
        [ "$arch" != arm64 ] || words+=" kpti=0"
    fi
    case $arch in
    arm64)
        qemu=(qemu-system-aarch64 -M virt "${accel[@]}" -cpu "$(processor_of "$kernel")")
        console=ttyAMA0
        image=$(kernel_image "$kernel")
        ;;
    x86_64)
        emulator="qemu-system-x86_64"
        # On a busy machine the emulated timer is late, and the kernel would report it as broken.
        console="ttyS0 no_timer_check"
        image=$(unpacked_x86_64 "$(kernel_image "$kernel")")
        # A repeated string instruction counts once for each element: words are fewer than bytes.
        qemu=("$emulator" -M q35 "${accel[@]}" -cpu "max,-erms,-fsrm")
        if [ "${GPON_GUEST_CLOCK:-real}${GPON_KERNEL_IMAGE:-}" = real ] && kvm_works; then
            qemu=("$emulator" -M q35 -accel kvm -smp 2 -cpu host)
        fi
        ;;
    *) fail "there is no architecture '$arch'" ;;
    esac
    image=${GPON_KERNEL_IMAGE:-$image}
}

words=''
machine
status=0
timeout --foreground "${GPON_GUEST_SECONDS:-300}" "${qemu[@]}" -m "${GPON_GUEST_MEMORY:-512}" \
    -display none -nodefaults -no-reboot -serial stdio \
    -kernel "$image" -initrd "$initramfs" \
    -append "console=$console panic=-1 quiet log_buf_len=8M $words $*" </dev/null || status=$?
[ "$status" != 124 ] || echo "@@ the guest was stopped after ${GPON_GUEST_SECONDS:-300} s"
exit "$status"
