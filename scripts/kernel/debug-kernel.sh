#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: debug-kernel.sh ARCH kasan|kcsan|nesting
#
# Builds a debug kernel from Debian's kernel source in build/kernel/ARCH-FLAVOUR. The source is
# downloaded and unpacked once, below build/kernel, for all of them. The build is skipped if the
# existing kernel has this configuration and source.
set -eu
cd "$(dirname "$(readlink -f "$0")")/../.."
# shellcheck source=scripts/kernel/common.sh
. scripts/kernel/common.sh
# shellcheck source=scripts/kernel/apt.sh
. scripts/kernel/apt.sh

[ $# = 2 ] || fail "an architecture and a flavour are needed"
arch=$1
flavour=$2
debian_arch "$arch" >/dev/null
fragments=(scripts/kernel/debug-{guest,"$arch","$flavour"}.config)
[ -f "${fragments[2]}" ] || fail "there is no flavour '$flavour', only kasan, kcsan and nesting"
source_dir=$GPON_KERNEL_DIR/source
output=$(debug_kernel "$arch" "$flavour")

fetch_source() {
    local package staging=$source_dir.new
    [ ! -f "$source_dir/package" ] || return 0
    apt_setup ""
    package=$(dependency '^linux-source-' "linux-source:all")
    [ -n "$package" ] || fail "the package lists know no kernel source"
    echo "fetching $package"
    rm -rf "$staging" "$source_dir"
    mkdir -p "$staging/tree"
    (cd "$staging" && apt-get "${apt_options[@]}" download "$package:all")
    dpkg --fsys-tarfile "$staging"/*.deb | tar -xO --wildcards './usr/src/*.tar.xz' |
        tar -xJ -C "$staging/tree" --strip-components=1
    basename "$staging"/*.deb >"$staging/tree/package"
    mv "$staging/tree" "$source_dir"
    rm -rf "$staging"
}

# KCSAN watches a few memory accesses at a time in the instrumented code. Only our modules are
# instrumented fully. Of the kernel only the locks are, so that KCSAN detects their barriers; otherwise
# they would order nothing.
watched=()
[ "$flavour" != kcsan ] || watched=(KCSAN_SANITIZE=n KCSAN_INSTRUMENT_BARRIERS_{spinlock,mutex,tree}.o=y)

kernel_make() {
    make -C "$source_dir" O="$output" ARCH="$(kernel_arch "$arch")" \
        CROSS_COMPILE="$(cross_prefix "$arch")" KBUILD_BUILD_USER=gpon KBUILD_BUILD_HOST=gpon \
        "${watched[@]}" "$@"
}

# OPTION: whether this kernel has it, in any configuration.
knows_option() {
    grep -rqE --include='Kconfig*' "^[[:space:]]*(menu)?config $1\$" "$source_dir"
}

# Options of a fragment that the kernel or the compiler does not support. Those that another version
# of the kernel introduces or has removed are left out.
check_configuration() {
    local line option missing=()
    while read -r line; do
        option=${line#CONFIG_}
        option=${option%%=*}
        if grep -qxF "$line" "$output/.config"; then
            continue
        elif knows_option "$option"; then
            missing+=("$line")
        else
            echo "left out, this kernel does not have it: $option"
        fi
    done < <(cat "${fragments[@]}" | grep '^CONFIG_.*=[^n]')
    [ ${#missing[@]} = 0 ] || fail "not in the configuration: ${missing[*]}"
}

configure() {
    mkdir -p "$output"
    kernel_make tinyconfig
    "$source_dir/scripts/kconfig/merge_config.sh" -m -O "$output" \
        "$output/.config" "${fragments[@]}"
    kernel_make olddefconfig
    check_configuration
}

request() {
    cat "$source_dir/package" "${fragments[@]}" "$0"
}

(lock_downloads && fetch_source)
if ! request | cmp -s - "$output/request"; then
    configure
    kernel_make -j "$GPON_JOBS" "$(basename "$(debug_image "$arch" "$flavour")")" modules
    request >"$output/request"
fi
