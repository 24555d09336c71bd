#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: build.sh ARCH [KERNEL-BUILD-FOLDER [FARM]]
#
# Builds gpon_softonu.ko and gpon_flow.ko for a kernel, without KERNEL-BUILD-FOLDER for the one
# that fetch.sh got. The kernel's build puts its products beside the sources, so each kernel has a
# farm of links to them, by default build/kernel/ARCH/modules. A warning fails the build.
set -eu
cd "$(dirname "$(readlink -f "$0")")/../.."
# shellcheck source=scripts/kernel/common.sh
. scripts/kernel/common.sh

[ $# -ge 1 ] || fail "no architecture given"
arch=$1
debian_arch "$arch" >/dev/null
kernel=${2:-$(kernel_headers "$arch")}
farm=${3:-$(module_farm "$arch")}
folders=(include core me me_class pkt hash debug platform/linux platform/softonu)

link_sources() {
    local root=$PWD source target
    mkdir -p "$farm"
    # A source that is gone must not live on in the farm, nor a product of it.
    find "$farm" -xtype l -delete
    find Kbuild platform/kernel_api.h "${folders[@]}" -type f |
        while read -r source; do
            target=$farm/$source
            if [ ! -L "$target" ]; then
                mkdir -p "${target%/*}"
                ln -s "$root/$source" "$target"
            fi
        done
}

build_modules() {
    make -C "$kernel" -j "$GPON_JOBS" M="$farm" CROSS_COMPILE="$(cross_prefix "$arch")" \
        CONFIG_DEBUG_INFO_BTF_MODULES= modules
}

link_sources
log=$farm/build.log
if ! build_modules >"$log" 2>&1; then
    cat "$log" >&2
    fail "the modules do not build for $arch"
fi
if grep -n -i -E 'warning|error:|objtool|modpost: ' "$log" | grep -v 'MODPOST' >&2; then
    fail "the build for $arch is not silent, see $log"
fi
CROSS_COMPILE=$(cross_prefix "$arch") bash scripts/kernel/check-module.sh "$arch" "$farm/gpon_flow.ko"
