#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: programs.sh ARCH OUTPUT-FOLDER
#
# Builds the C programs of the guest tests, static, because a guest has few libraries. All of them each
# time: that takes seconds, and they depend on headers of the modules.
set -eu
cd "$(dirname "$(readlink -f "$0")")/../.."
# shellcheck source=scripts/kernel/common.sh
. scripts/kernel/common.sh

[ $# = 2 ] || fail "an architecture and a folder are needed"
arch=$1
mkdir -p "$2"

# SOURCE: the one about the 32-bit entry is a 32-bit program on arm64.
compiler_of() {
    case $arch:$1 in
    arm64:*/compat_calls.c) echo arm-linux-gnueabihf-gcc ;;
    *) echo "$(cross_prefix "$arch")gcc" ;;
    esac
}

# A program may be in use by another build: it is replaced as a whole.
scratch=$(mktemp -d)/program
trap 'rm -rf "${scratch%/*}"' EXIT
for source in tests/kernel/programs/*.c tests/uapi/omci_calls.c; do
    program=$2/$(basename "$source" .c)
    "$(compiler_of "$source")" -std=gnu11 -O2 -Wall -Wextra -Werror -static -I. -Isrc \
        -o "$scratch" "$source"
    mv "$scratch" "$program"
done
