# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash
#
# The kernels of the guest tests. A kernel is named ARCH for the newest kernel of the machine's own
# Debian, or ARCH/SERIES for a kernel of another suite. "newest" is the series of Debian's
# development suite. Exact versions come from the package that always depends on the newest kernel.
# Sourced by common.sh.

# The kernels of "./run test-kernel matrix".
kernel_matrix=(arm64/5.10 arm64/6.1 arm64/6.1-rt arm64/6.12 arm64/6.12-rt arm64/6.12-16k arm64/newest
    x86_64/5.10 x86_64/6.1 x86_64/6.12 x86_64/6.12-rt x86_64/newest)

# KERNEL: its series without the flavour, empty for the machine's own Debian.
kernel_series() {
    local series=
    [ "$1" = "${1%%/*}" ] || series=${1#*/}
    echo "${series%%-*}"
}

# KERNEL: the flavour of its packages, as in linux-image-FLAVOUR.
kernel_flavour() {
    local debian
    debian=$(debian_arch "${1%%/*}")
    case ${1#*/} in
    *-rt) echo "rt-$debian" ;;
    *-16k) echo "$debian-16k" ;;
    *) echo "$debian" ;;
    esac
}

# KERNEL: the Debian suite that has it, empty for the machine's own lists.
kernel_suite() {
    case $(kernel_series "$1") in
    "") ;;
    5.10) echo bullseye ;;
    6.1) echo bookworm ;;
    6.12) echo bookworm-backports ;;
    newest) echo sid ;;
    esac
}

# WORD: whether it is the name of a kernel.
is_kernel_name() {
    [[ $1 =~ ^(arm64|x86_64)(/(5\.10|6\.1|6\.12|newest)(-rt|-16k)?)?$ ]] &&
        [[ $1 != x86_64/*-16k ]]
}

need_kernel_name() {
    is_kernel_name "$1" || fail "there is no kernel '$1'; there are ${kernel_matrix[*]}"
}
