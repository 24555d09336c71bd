# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash
#
# Names and folders of the scripts that build the modules and boot kernels. Sourced in the root of
# the tree. An architecture is arm64 or x86_64; kernels.sh explains the names of kernels.

GPON_BUILD_DIR=${GPON_BUILD_DIR:-build}
GPON_JOBS=${GPON_JOBS:-$(nproc)}

# All files for kernels; the downloads in it can be kept between builds.
GPON_KERNEL_DIR=${GPON_KERNEL_DIR:-$GPON_BUILD_DIR/kernel}
mkdir -p "$GPON_KERNEL_DIR"
GPON_KERNEL_DIR=$(readlink -f "$GPON_KERNEL_DIR")

# shellcheck source=scripts/fail.sh
. scripts/fail.sh
# shellcheck source=scripts/kernel/kernels.sh
. scripts/kernel/kernels.sh

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

# KERNEL: its architecture, and the folder for all of its files.
arch_of() {
    echo "${1%%/*}"
}

kernel_dir() {
    echo "$GPON_KERNEL_DIR/${1//\//-}"
}

# KERNEL: its unpacked packages, and its version. Those of an architecture also contain the programs
# and libraries of its guests.
kernel_root() {
    echo "$(kernel_dir "$1")/root"
}

kernel_version() {
    cat "$(kernel_dir "$1")/version" 2>/dev/null ||
        fail "no kernel $1 here, scripts/kernel/fetch.sh $1 gets one"
}

kernel_headers() {
    echo "$(kernel_root "$1")/usr/src/linux-headers-$(kernel_version "$1")"
}

# KERNEL: its image. Newer packages keep it with the modules.
kernel_image() {
    local root version
    root=$(kernel_root "$1")
    version=$(kernel_version "$1")
    if [ -f "$root/boot/vmlinuz-$version" ]; then
        echo "$root/boot/vmlinuz-$version"
    else
        echo "$root/usr/lib/modules/$version/vmlinuz"
    fi
}

# KERNEL: the folder in which our modules for it are built.
module_folder() {
    echo "$(kernel_dir "$1")/modules"
}

# The Debian packages of further tracers for the guests: trace-cmd in all of them, the others are large.
# GPON_GUEST_TRACERS="bpftrace linux-perf" adds these two; their guests need GPON_GUEST_MEMORY=2048.
guest_tracers() {
    echo "trace-cmd ${GPON_GUEST_TRACERS:-}"
}

# ARCH PACKAGE: an unpacked tracer with its libraries.
tracer_root() {
    echo "$GPON_KERNEL_DIR/$1-$2"
}

# PACKAGE: its program.
tracer_program() {
    case $1 in
    linux-perf) echo usr/bin/perf ;;
    *) echo "usr/bin/$1" ;;
    esac
}

# SUITE: a root file system with the suite's compilers. It exists if the suite's build tools do not run
# on this machine.
suite_root() {
    echo "$GPON_KERNEL_DIR/suite-$1"
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
