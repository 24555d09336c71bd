#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: fetch.sh [--again] KERNEL...
#
# Downloads kernels with their headers, and the user space of the test guests of their architectures,
# once. With GPON_KERNEL_REFRESH=1, a kernel is downloaded again if Debian has a newer one.
# GPON_GUEST_TRACERS names further packages for the guests (common.sh). KERNEL is an architecture or a
# name of kernels.sh. Packages are unpacked below build/kernel and not installed. apt uses its own lists
# there, so this needs no root and does not change the machine.
set -eu
cd "$(dirname "$(readlink -f "$0")")/../.."
# shellcheck source=scripts/kernel/common.sh
. scripts/kernel/common.sh
# shellcheck source=scripts/kernel/apt.sh
. scripts/kernel/apt.sh

guest_programs=(busybox-static iproute2 ethtool ppp pppoe)

# Libraries with which the command line tool is built for a guest and runs there.
guest_libraries=(libpcap-dev liburcu-dev libcli11-dev nlohmann-json3-dev libgtest-dev libgmock-dev
    libkainjow-mustache-dev libmnl-dev libtraceevent-dev libtracefs-dev)

# What the kernel's build needs in the root file system of a suite.
suite_programs=(base-files bash binutils coreutils dash diffutils findutils grep gzip libc-bin make
    mawk sed tar xz-utils)

# The cross compiler has its own C library; no other headers may be found.
unwanted='^(libc6-dev|linux-libc-dev|libcrypt-dev|libc-dev-bin|rpcsvc-proto|libnsl-dev)_'

# KERNEL: the names of its packages, headers first, derived from those that always name the newest.
kernel_packages() {
    local debian flavour todo known=' ' package name
    debian=$(debian_arch "$(arch_of "$1")")
    flavour=$(kernel_flavour "$1")
    todo=("linux-headers-$flavour" "linux-image-$flavour")
    while [ ${#todo[@]} -gt 0 ]; do
        package=${todo[0]}
        todo=("${todo[@]:1}")
        for name in $(package_field Depends "$package:$debian" | tr -s ',|' '\n' |
            grep -oE '^ *linux-(headers|kbuild|image|binary|modules|base)-[0-9][^ ]*' |
            grep -v -e '-unsigned$'); do
            if [[ $known != *" $name "* ]]; then
                known+="$name "
                todo+=("$name")
            fi
        done
    done
    [[ $known == *" linux-headers-"*" linux-image-"* ]] ||
        fail "the package lists know no kernel $1"
    echo "$known"
}

# KERNEL: its package names with the architecture of each. The build tools are programs that run
# here, also for another architecture.
qualified_packages() {
    local name debian
    debian=$(debian_arch "$(arch_of "$1")")
    for name in $(kernel_packages "$1"); do
        case $name in
        *-common | *-common-rt) echo "$name:all" ;;
        linux-kbuild-*) echo "$name:$(dpkg --print-architecture)" ;;
        *) echo "$name:$debian" ;;
        esac
    done
}

# KERNEL: header trees name each other by absolute paths of an installed system.
adapt_headers() {
    local root headers compiler
    root=$(kernel_root "$1")
    headers=$(kernel_headers "$1")
    compiler=$(dependency '(^|-)gcc-[0-9]' "${headers##*/}:$(debian_arch "$(arch_of "$1")")")
    compiler=$(grep -oE 'gcc-[0-9]+' <<<"$compiler")
    sed -i "s#^\(include \|KBUILD_OUTPUT=\)/usr/src/#\1$root/usr/src/#" "$headers/Makefile"
    if ! tools_run_here "$root"; then
        fetch_suite_root "$1" "$compiler"
    elif ! command -v "$compiler" >/dev/null; then
        # The compiler of another release is not here; the default one builds modules too.
        sed -i 's/gcc-[0-9][0-9]*/gcc/g' "$headers/.kernelvariables"
    fi
}

# ROOT: whether the kernel's build tools run with the C library of this machine.
tools_run_here() {
    ! find "$1/usr/lib" -path '*/scripts/mod/modpost*' -exec ldd {} + 2>&1 | grep -q 'not found'
}

# KERNEL GCC-VERSION: its suite's compiler, with the programs that the kernel's build runs.
fetch_suite_root() {
    local root arch prefix machine compiler debs deb name
    root=$(suite_root "$(kernel_suite "$1")")
    arch=$(arch_of "$1")
    prefix=$(cross_prefix "$arch")
    machine=${prefix//_/-}
    compiler=${2/gcc/g++}${machine:+-${machine%-}}
    [ ! -f "$root/$compiler.is-there" ] || return 0
    debs=$GPON_KERNEL_DIR/debs.new
    rm -rf "$debs"
    mkdir -p "$debs/partial" "$root"
    echo "fetching for $(kernel_suite "$1"): $compiler"
    apt-get "${apt_options[@]}" -o "Dir::Cache::archives=$debs" -o Debug::NoLocking=true \
        --download-only -y install "${suite_programs[@]}" "$compiler" \
        "$(basename "$(kernel_root "$1")"/usr/lib/linux-kbuild-*)"
    for deb in "$debs"/*.deb; do
        dpkg -x "$deb" "$root"
    done
    rm -rf "$debs"
    # The names that Debian's maintainer scripts and default packages would make.
    ln -sf mawk "$root/usr/bin/awk"
    for name in gcc g++; do
        ln -sf "$prefix$name-${2#gcc-}" "$root/usr/bin/$prefix$name"
    done
    touch "$root/$compiler.is-there"
}

# DEBIAN-ARCH FOLDER PACKAGE...: with an empty list of installed packages, apt resolves all libraries.
download_programs() {
    local debian=$1 debs=$2
    shift 2
    apt-get "${apt_options[@]}" -o "Dir::Cache::archives=$debs" -o APT::Architecture="$debian" \
        -o Debug::NoLocking=true --download-only -y install "$@"
}

# FOLDER PACKAGE...
download() {
    (cd "$1" && shift && apt-get "${apt_options[@]}" download "$@")
}

# KERNEL FOLDER: adds the guest's programs to the kernel's packages and unpacks them all.
unpack_kernel() {
    local kernel=$1 staging=$2
    mkdir -p "$staging/root"
    [ "$kernel" != "$(arch_of "$kernel")" ] ||
        download_guest_programs "$(debian_arch "$kernel")" "$staging/debs"
    unpack "$staging/debs" "$staging/root"
}

# DEBIAN-ARCH FOLDER
download_guest_programs() {
    download_programs "$1" "$2" "${guest_programs[@]/%/:$1}" "${guest_libraries[@]}"
}

# FOLDER ROOT: unpacks its packages and deletes them.
unpack() {
    local deb
    for deb in "$1"/*.deb; do
        [[ ${deb##*/} =~ $unwanted ]] || dpkg -x "$deb" "$2"
    done
    rm -rf "$1"
}

# ARCH PACKAGE
fetch_tracer() {
    local root debian
    root=$(tracer_root "$1" "$2")
    debian=$(debian_arch "$1")
    apt_setup ""
    echo "fetching for guests of $1: $2"
    rm -rf "$root.new"
    mkdir -p "$root.new" "$root.debs/partial"
    download_programs "$debian" "$root.debs" "$2:$debian"
    unpack "$root.debs" "$root.new"
    # Last, because the folder marks the download as complete.
    rm -rf "$root"
    mv "$root.new" "$root"
}

# PACKAGE...: the versions that identify a kernel. A package of the same name may have a new version.
package_versions() {
    local package
    for package in "$@"; do
        echo "$package=$(package_field Version "$package")"
    done
}

# KERNEL UPDATES: sets the "packages" of the newest one, with or without the security updates of its suite
# (apt_setup), its "version", and the "versions" of the packages.
choose_kernel() {
    apt_setup "$(kernel_suite "$1")" "$2"
    mapfile -t packages < <(qualified_packages "$1")
    version=${packages[0]%%:*}
    version=${version#linux-headers-}
    check_series "$1" "$version"
    versions=$(package_versions "${packages[@]}")
}

# FOLDER: downloads "packages".
download_kernel() {
    rm -rf "$1"
    mkdir -p "$1/debs/partial"
    echo "fetching for $kernel: ${packages[*]}"
    download "$1/debs" "${packages[@]}"
}

# KERNEL
fetch() {
    local kernel=$1 packages version dir versions
    dir=$(kernel_dir "$kernel")
    choose_kernel "$kernel" ""
    if [ -z "$again" ] && is_there "$kernel" && [ "$(cat "$dir/versions" 2>/dev/null)" = "$versions" ]; then
        echo "$kernel is the newest: $version"
        return
    fi
    # A mirror may list security updates of an old suite whose files it no longer has.
    if ! download_kernel "$dir.new"; then
        [ -n "$(kernel_suite "$kernel")" ] || fail "a package of the kernel $kernel is not there"
        echo "$(kernel_suite "$kernel") without its security updates:"
        choose_kernel "$kernel" none
        download_kernel "$dir.new"
    fi
    unpack_kernel "$kernel" "$dir.new"
    rm -rf "${dir:?}"
    mv "$dir.new" "$dir"
    echo "$version" >"$dir/version"
    echo "$versions" >"$dir/versions"
    adapt_headers "$kernel"
    # Last, because it marks the download as complete.
    wanted_packages "$kernel" >"$dir/request"
}

# KERNEL VERSION: a suite may have moved on to another series.
check_series() {
    case $(kernel_series "$1") in
    "" | newest | "$(cut -d. -f1,2 <<<"$2")") ;;
    *) fail "$(kernel_suite "$1") has $2, which is no kernel $1" ;;
    esac
}

# The unpacked files may come from an older version of this script.
wanted_packages() {
    if [ "$1" = "$(arch_of "$1")" ]; then
        echo "${guest_programs[*]} ${guest_libraries[*]}"
    else
        echo "kernel of $(kernel_suite "$1")"
    fi
}

is_there() {
    [ "$(cat "$(kernel_dir "$1")/request" 2>/dev/null)" = "$(wanted_packages "$1")" ]
}

again=
wanted=()
for word in "$@"; do
    case $word in
    --again) again=1 ;;
    *)
        need_kernel_name "$word"
        wanted+=("$(arch_of "$word")" "$word")
        ;;
    esac
done
for kernel in $(printf '%s\n' "${wanted[@]}" | sort -u); do
    if [ -n "$again${GPON_KERNEL_REFRESH:-}" ] || ! is_there "$kernel"; then
        fetch "$kernel"
    fi
    [ "$kernel" = "$(arch_of "$kernel")" ] || continue
    for tracer in $(guest_tracers); do
        if [ -n "$again" ] || [ ! -d "$(tracer_root "$kernel" "$tracer")" ]; then
            fetch_tracer "$kernel" "$tracer"
        fi
    done
done
