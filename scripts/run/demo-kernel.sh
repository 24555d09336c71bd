# SPDX-License-Identifier: GPL-2.0-only
# [ARCH] run a demonstration in a real kernel (arm64 unless x86_64 is given)
set -eu
. scripts/log.sh
. scripts/packages.sh
. scripts/kernel/common.sh
. scripts/kernel/guest-tests.sh

arch=${1:-arm64}
debian_arch "$arch" >/dev/null
need kernel cross build
prepare_guest "$arch"
log=$GPON_BUILD_DIR/logs/demo-kernel.log
GPON_GUEST_SECONDS=300 bash scripts/kernel/boot.sh "$arch" \
    "$GPON_KERNEL_DIR/$arch/initramfs.cpio" script=demo </dev/null 2>&1 |
    tr -d '\r' | tee "$log" | sed -n '/^==/,$p' | sed '/^@@ done/,$d'
if ! grep -q '^@@ done 0' "$log"; then
    echo "the demo did not come to its end, its whole output is in $log" >&2
    exit 1
fi
