#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: build.sh ARCH [KERNEL-BUILD-FOLDER [FARM]]
#
# Builds gpon_softonu.ko and gpon_flow.ko for a kernel, without KERNEL-BUILD-FOLDER for the one
# that fetch.sh got. The kernel's build puts its products beside the sources, so each kernel has a
# farm of links to them, by default build/kernel/ARCH/modules. The modules of the guest tests are
# built beside it, in FARM-of-tests. A warning fails the build.
set -eu
cd "$(dirname "$(readlink -f "$0")")/../.."
# shellcheck source=scripts/kernel/common.sh
. scripts/kernel/common.sh

[ $# -ge 1 ] || fail "no architecture given"
arch=$1
debian_arch "$arch" >/dev/null
kernel=${2:-$(kernel_headers "$arch")}
farm=${3:-$(module_farm "$arch")}

# FARM SOURCE...: links to the sources, which are named from the root of the tree.
link_sources() {
    local here=$1 root=$PWD source target
    shift
    mkdir -p "$here"
    # Anew each time: a source that is gone must not live on in the farm.
    find "$here" -type l -delete
    find "$@" -type f | while read -r source; do
        target=$here/$source
        mkdir -p "${target%/*}"
        ln -s "$root/$source" "$target"
    done
}

# FOLDER: runs the kernel's build on a folder's Kbuild.
build_modules() {
    local log=$1/build.log
    if ! make -C "$kernel" -j "$GPON_JOBS" M="$1" CROSS_COMPILE="$(cross_prefix "$arch")" \
        CONFIG_DEBUG_INFO_BTF_MODULES= GPON_CALL_GRAPH=1 modules >"$log" 2>&1; then
        cat "$log" >&2
        fail "the modules do not build for $arch"
    fi
    if grep -n -i -E 'warning|error:|objtool|modpost: ' "$log" | grep -v 'MODPOST' >&2; then
        # Or the next build would find everything made, and say nothing.
        find "$1" -name '*.o' -delete
        fail "the build for $arch is not silent, see $log"
    fi
}

link_sources "$farm" Kbuild src softonu
build_modules "$farm"
link_sources "$farm-of-tests" tests/kernel/modules src/platform/linux/kcxx.mk
build_modules "$farm-of-tests/tests/kernel/modules"
bash scripts/kernel/check-module.sh "$arch" "$farm/gpon_flow.ko" "$kernel"
