#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: initramfs.sh KERNEL OUTPUT [FILE[=GUEST-PATH]]...
#
# Packs the root file system of a test guest: busybox, iproute2 and tracers with their libraries, the
# kernel's own modules that the tests need, both of our modules, the guest scripts and tests. Further
# files go to /bin, or to GUEST-PATH. GPON_KERNEL_BUILD is the build folder of a kernel that has
# everything built in, and GPON_MODULES the folder of our modules for it.
set -eu
cd "$(dirname "$(readlink -f "$0")")/../.."
# shellcheck source=scripts/kernel/common.sh
. scripts/kernel/common.sh

[ $# -ge 2 ] || fail "a kernel and an output file are needed"
need_kernel_name "$1"
kernel=$1
arch=$(arch_of "$1")
output=$2
shift 2
root=$(kernel_root "$arch")
if [ -n "${GPON_KERNEL_BUILD:-}" ]; then
    version=$(cat "$GPON_KERNEL_BUILD/include/config/kernel.release")
    configuration=$GPON_KERNEL_BUILD/include/config/auto.conf
else
    version=$(kernel_version "$kernel")
    configuration=$(kernel_headers "$kernel")/include/config/auto.conf
fi
folder=${GPON_MODULES:-$(module_folder "$kernel")}
readelf=$(cross_prefix "$arch")readelf

# Kernel modules of the distribution that tests load by name.
stock_modules=(veth tun dummy bridge 8021q ifb cls_flower act_vlan act_mirred sch_ingress pppoe
    ppp_async netconsole)

library_folders=("$root/lib" "$root/usr/lib")
for tracer in $(guest_tracers); do
    library_folders+=("$(tracer_root "$arch" "$tracer")")
done

tree=$(mktemp -d)
chmod 0755 "$tree"
trap 'rm -rf "$tree"' EXIT

put() {
    mkdir -p "$(dirname "$tree/$2")"
    cp -L "$1" "$tree/$2"
}

# NAME: prints the file of a library: of the guest's packages, or that with which a program of this
# machine was built.
library() {
    local found
    found=$(find "${library_folders[@]}" -name "$1" | head -n 1)
    [ -n "$found" ] || found=$("$(cross_prefix "$arch")g++" -print-file-name="$1")
    [ -f "$found" ] && echo "$found"
}

# Copies a program's libraries, and theirs, to the loader's folder.
put_libraries() {
    local name found
    for name in $("$readelf" -d "$1" 2>/dev/null | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p'); do
        if [ ! -e "$tree/lib/$name" ]; then
            found=$(library "$name") || fail "the library $name of $1 is not there"
            put "$found" "lib/$name"
            put_libraries "$found"
        fi
    done
}

put_loader() {
    local loader
    loader=$("$readelf" -l "$1" 2>/dev/null | sed -n 's/.*interpreter: \/\(.*\)\]/\1/p')
    [ -z "$loader" ] || [ -e "$tree/$loader" ] || put "$root/$loader" "$loader"
}

put_tracers() {
    local tracer
    for tracer in $(guest_tracers); do
        put_with_libraries "$(tracer_root "$arch" "$tracer")/$(tracer_program "$tracer")" \
            "bin/$(basename "$(tracer_program "$tracer")")"
    done
    find docs/bpftrace -name '*.bt' | while read -r tracer; do
        put "$tracer" "tests/bpftrace/${tracer##*/}"
    done
}

put_with_libraries() {
    put "$1" "$2"
    put_loader "$1"
    put_libraries "$1"
}

put_programs() {
    local program
    put "$root/bin/busybox" bin/busybox
    for program in bin/ip sbin/tc sbin/bridge sbin/ethtool; do
        put_with_libraries "$root/$program" "sbin/${program##*/}"
    done
    for program in pppd pppoe pppoe-server; do
        put_with_libraries "$root/usr/sbin/$program" "usr/sbin/$program"
    done
    for program in "$root"/usr/lib/pppd/*/pppoe.so; do
        put_with_libraries "$program" "${program#"$root"/}"
    done
}

# Built-in modules are found by name like loadable ones. A folder of headers has no lists of them; without
# the lists depmod warns.
put_builtin_names() {
    local list
    for list in modules.order modules.builtin modules.builtin.modinfo; do
        if [ -f "$1/$list" ]; then
            cp "$1/$list" "$tree/lib/modules/$version/"
        else
            : >"$tree/lib/modules/$version/$list"
        fi
    done
    depmod -b "$tree" "$version"
}

# The guest's busybox does not support every compression.
put_module() {
    case $1 in
    *.xz) mkdir -p "$tree/${2%/*}" && xz -dc "$1" >"$tree/${2%.xz}" ;;
    *) put "$1" "$2" ;;
    esac
}

put_stock_modules() {
    local name path modules
    modules=$(kernel_root "$kernel")
    [ -d "$modules/lib/modules/$version" ] || modules=$modules/usr
    [ -f "$modules/lib/modules/$version/modules.dep" ] || depmod -b "$modules" "$version"
    for name in "${stock_modules[@]}" ${GPON_GUEST_MODULES:-}; do
        modprobe -S "$version" -d "$modules" --show-depends "$name" | awk '$1 == "insmod" {print $2}'
    done | sort -u | while read -r path; do
        put_module "$path" "lib/modules/${path#*/lib/modules/}"
    done
    put_builtin_names "$modules/lib/modules/$version"
}

# FILE: without the debug information, which is most of its size: an emulated guest reads a module
# slowly, and the tests load modules some hundred times. INSTALL_MOD_STRIP of the kernel does the same.
put_own_module() {
    "$(cross_prefix "$arch")strip" --strip-debug -o "$tree/modules/${1##*/}" "$1"
}

put_tests() {
    local file
    put scripts/kernel/guest/init init
    chmod 0755 "$tree/init"
    for file in scripts/kernel/guest/*.sh; do
        put "$file" "tests/${file##*/}"
    done
    put "$configuration" tests/config
    find tests/kernel -name '*.sh' -o -name '*.scn' | while read -r file; do
        put "$file" "tests/${file#tests/kernel/}"
    done
    mkdir -p "$tree/modules"
    for file in "$folder"/gpon_{softonu,flow}.ko "$folder-of-tests"/tests/kernel/modules/*.ko; do
        put_own_module "$file"
    done
}

# Scenarios name their captures relative to the root of the tree.
put_scenarios() {
    find scenarios tests/scenarios captures -name '*.scn' -o -name '*.transcript' -o -name '*.pcap*' |
        while read -r file; do
            put "$file" "tree/$file"
        done
}

put_further_files() {
    local word
    for word in "$@"; do
        case $word in
        *=*) put_with_libraries "${word%%=*}" "${word#*=/}" ;;
        *) put_with_libraries "$word" "bin/${word##*/}" ;;
        esac
    done
}

mkdir -p "$tree"/{bin,sbin,dev,proc,sys,tmp,root,etc,"lib/modules/$version"}
put_programs
put_tracers
if [ -n "${GPON_KERNEL_BUILD:-}" ]; then
    put_builtin_names "$GPON_KERNEL_BUILD"
else
    put_stock_modules
fi
put_tests
put_scenarios
put_further_files "$@"
# Not compressed: the emulated kernel unpacks at each boot, which costs more than the copy of a longer
# file.
(set -o pipefail && cd "$tree" && find . | cpio --quiet -o -H newc -R 0:0) >"$output.new"
# Replaced and not rewritten: a copy by hard links may be in use.
mv "$output.new" "$output"
