# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash
#
# Names and folders of the scripts that build the modules and boot kernels. Sourced in the root of
# the tree. An architecture is arm64 or x86_64.

GPON_BUILD_DIR=${GPON_BUILD_DIR:-build}
GPON_JOBS=${GPON_JOBS:-$(nproc)}

# All files for kernels; the downloads in it can be kept between builds.
GPON_KERNEL_DIR=${GPON_KERNEL_DIR:-$GPON_BUILD_DIR/kernel}
mkdir -p "$GPON_KERNEL_DIR"
GPON_KERNEL_DIR=$(readlink -f "$GPON_KERNEL_DIR")

fail() {
    echo "${0##*/}: $*" >&2
    exit 1
}

debian_arch() {
    case $1 in
    arm64) echo arm64 ;;
    x86_64) echo amd64 ;;
    *) fail "there is no architecture '$1', only arm64 and x86_64" ;;
    esac
}

cross_prefix() {
    local here
    here=$(uname -m)
    case $1:$here in
    arm64:aarch64 | x86_64:x86_64) ;;
    arm64:*) echo aarch64-linux-gnu- ;;
    x86_64:*) echo x86_64-linux-gnu- ;;
    esac
}

# Unpacked packages of an architecture, and the version of the kernel among them.
kernel_root() {
    echo "$GPON_KERNEL_DIR/$1/root"
}

kernel_version() {
    cat "$GPON_KERNEL_DIR/$1/version" 2>/dev/null ||
        fail "no kernel for $1 here, scripts/kernel/fetch.sh $1 gets one"
}

kernel_headers() {
    echo "$(kernel_root "$1")/usr/src/linux-headers-$(kernel_version "$1")"
}

# The folder and the names of the modules of an architecture, in loading order.
module_farm() {
    echo "$GPON_KERNEL_DIR/$1/modules"
}

# ARCH FLAVOUR: build folder of a debug kernel, and its image.
debug_kernel() {
    echo "$GPON_KERNEL_DIR/$1-$2"
}

debug_image() {
    case $1 in
    arm64) echo "$(debug_kernel "$1" "$2")/arch/arm64/boot/Image" ;;
    # The unpacked image does not start under KASAN.
    x86_64) echo "$(debug_kernel "$1" "$2")/arch/x86/boot/bzImage" ;;
    esac
}

# The kernel's own name of an architecture.
kernel_arch() {
    case $1 in
    x86_64) echo x86 ;;
    *) echo "$1" ;;
    esac
}
