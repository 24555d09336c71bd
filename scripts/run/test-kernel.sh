# SPDX-License-Identifier: GPL-2.0-only
# [KERNEL...|matrix] [TEST...] [--write] [NAME=VALUE...] test the modules in real kernels
#
# KERNEL is arm64 or x86_64 for the kernel of the machine's Debian, or one of another suite as
# arm64/6.12-rt; "matrix" is all of them. --write rewrites their rows of docs/results/kernel-matrix.md.
# --kernel-build DIR --image FILE --arch arm64|x86_64 tests another kernel.
set -eu
. scripts/log.sh
. scripts/packages.sh
. scripts/results.sh
. scripts/kernel/common.sh
. scripts/kernel/guest-tests.sh
. scripts/kernel/kernel-matrix.sh

refuse() {
    echo "run test-kernel: $*" >&2
    exit 2
}

kernels=()
tests=()
write=
own_arch=
while [ $# -gt 0 ]; do
    case $1 in
    --write) write=1 ;;
    --kernel-build | --image | --arch)
        [ $# -ge 2 ] || refuse "$1 needs a value"
        case $1 in
        --kernel-build) export GPON_KERNEL_BUILD=$2 ;;
        --image) export GPON_KERNEL_IMAGE=$2 ;;
        --arch) own_arch=$2 ;;
        esac
        shift
        ;;
    matrix) kernels+=("${kernel_matrix[@]}") ;;
    [a-z]*=*) guest_words+=("$1") ;;
    *)
        if is_kernel_name "$1"; then
            kernels+=("$1")
        elif [ -f "tests/kernel/$1.sh" ]; then
            tests+=("$1")
        else
            refuse "'$1' is no kernel (there are arm64, x86_64 and ${kernel_matrix[*]})," \
                "nor is there tests/kernel/$1.sh"
        fi
        ;;
    esac
    shift
done

# The modules for another kernel are built beside those for Debian's.
if [ -n "${GPON_KERNEL_BUILD:-}${GPON_KERNEL_IMAGE:-}$own_arch" ]; then
    [ -f "${GPON_KERNEL_BUILD:-}/include/config/auto.conf" ] ||
        refuse "--kernel-build names no folder of a kernel that has been built"
    [ -f "${GPON_KERNEL_IMAGE:-}" ] || refuse "--image names no kernel image"
    [[ $own_arch = arm64 || $own_arch = x86_64 ]] || refuse "--arch is arm64 or x86_64"
    [ "${#kernels[@]}$write" = 0 ] || refuse "--kernel-build is for one kernel alone"
    GPON_KERNEL_BUILD=$(readlink -f "$GPON_KERNEL_BUILD")
    GPON_KERNEL_IMAGE=$(readlink -f "$GPON_KERNEL_IMAGE")
    export GPON_MODULES=${GPON_MODULES:-$GPON_KERNEL_DIR/$own_arch-own-modules}
    export GPON_INITRAMFS=$GPON_KERNEL_DIR/$own_arch-own-initramfs.cpio
    kernels=("$own_arch")
fi
[ ${#kernels[@]} -gt 0 ] || kernels=(arm64 x86_64)
mapfile -t every_test < <(all_guest_tests && all_panic_tests)
[ ${#tests[@]} -gt 0 ] || tests=("${every_test[@]}")

need kernel cross build
failed=()
rows=$GPON_BUILD_DIR/logs/kernel-matrix
mkdir -p "${rows%/*}"
: >"$rows"
for kernel in "${kernels[@]}"; do
    status=0
    test_kernel "$kernel" "${tests[@]}" || status=$?
    [ "$status" = 0 ] || failed+=("$kernel")
    matrix_row "$kernel" "$status" "${#every_test[@]}" "${tests[@]}" >>"$rows"
done
show_matrix "$rows"
[ -z "$write" ] || write_matrix "$rows"
if [ ${#failed[@]} != 0 ]; then
    echo "FAILED after $SECONDS s: ${failed[*]}"
    exit 1
fi
echo "all passed in $SECONDS s: ${kernels[*]}"
