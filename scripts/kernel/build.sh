#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: build.sh KERNEL [KERNEL-BUILD-FOLDER [OUTPUT-FOLDER [CORE-HEADER]]]
#
# Builds gpon_softonu.ko and gpon_flow.ko for a kernel of fetch.sh, or for the kernel of an architecture
# in KERNEL-BUILD-FOLDER. The kernel's build writes its products beside the sources, so each kernel has
# an output folder with links to the sources, by default build/kernel/KERNEL/modules. The modules of
# the guest tests are built in OUTPUT-FOLDER-of-tests. A warning fails the build. Each source of the core
# includes CORE-HEADER first, which changes it for a measurement.
set -eu
cd "$(dirname "$(readlink -f "$0")")/../.."
# shellcheck source=scripts/kernel/common.sh
. scripts/kernel/common.sh

[ $# -ge 1 ] || fail "no kernel given"
need_kernel_name "$1"
arch=$(arch_of "$1")
kernel=${2:-$(kernel_headers "$1")}
folder=${3:-$(module_folder "$1")}
core_header=${4:-}

# The build tools of a newer suite run in its own root file system.
inside=()
if [ $# = 1 ] && [ -d "$(suite_root "$(kernel_suite "$1")")" ]; then
    inside=(bash scripts/kernel/in-suite.sh "$(kernel_suite "$1")")
fi

# OUTPUT-FOLDER SOURCE...: links to the sources; paths are relative to the root of the tree.
link_sources() {
    local here=$1 root=$PWD source target
    shift
    mkdir -p "$here"
    # All links are replaced each time, so that no deleted source remains.
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
    # ccache keeps an object without its call graph, which check-module.sh reads.
    if ! CCACHE_DISABLE=1 "${inside[@]}" make -C "$kernel" -j "$GPON_JOBS" M="$1" ARCH="$(kernel_arch "$arch")" \
        CROSS_COMPILE="$(cross_prefix "$arch")" CONFIG_DEBUG_INFO_BTF_MODULES= GPON_CALL_GRAPH=1 \
        ${core_header:+"GPON_CORE_HEADER=$core_header"} modules >"$log" 2>&1; then
        cat "$log" >&2
        fail "the modules do not build for $kernel"
    fi
    if grep -n -i -E 'warning|error:|objtool|modpost: ' "$log" | grep -v 'MODPOST' >&2; then
        # Otherwise the next build would find all objects up to date and print no warning.
        find "$1" -name '*.o' -delete
        fail "the build for $kernel is not silent, see $log"
    fi
}

link_sources "$folder" Kbuild src softonu
build_modules "$folder"
link_sources "$folder-of-tests" tests/kernel/modules src/platform/linux/kcxx.mk
build_modules "$folder-of-tests/tests/kernel/modules"
bash scripts/kernel/check-module.sh "$arch" "$folder/gpon_flow.ko" "$kernel"
