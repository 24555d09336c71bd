#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: fetch.sh [--again] ARCH...
#
# Downloads Debian's newest kernel image, its headers and the user space of the test guests for arm64
# or x86_64, once. Packages are unpacked below build/kernel and not installed. apt uses its own lists
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
    libkainjow-mustache-dev)

# The cross compiler has its own C library; no other headers may be found.
unwanted='^(libc6-dev|linux-libc-dev|libcrypt-dev|libc-dev-bin|rpcsvc-proto|libnsl-dev)_'

# ARCH: names of the kernel's packages, derived from the packages that always name the newest.
kernel_packages() {
    local debian headers image common tools
    debian=$(debian_arch "$1")
    headers=$(dependency '^linux-headers-[0-9].*-'"$debian" "linux-headers-$debian:$debian")
    image=$(dependency '^linux-image-[0-9].*-'"$debian" "linux-image-$debian:$debian")
    common=$(dependency '-common$' "$headers:$debian")
    tools=$(dependency '^linux-kbuild-' "$headers:$debian")
    if [ -z "$headers" ] || [ -z "$image" ] || [ -z "$common" ] || [ -z "$tools" ]; then
        fail "the package lists know no kernel for $1"
    fi
    # The build tools are programs that run here, also for another architecture.
    echo "$headers:$debian $image:$debian $common:all $tools:$(dpkg --print-architecture)"
}

# Header trees name each other by absolute paths of an installed system.
mend_headers() {
    local root=$1 version=$2 makefile
    makefile=$root/usr/src/linux-headers-$version/Makefile
    sed -i "s#^include /usr/src/#include $root/usr/src/#" "$makefile"
}

download_kernel() {
    local packages=$1 debs=$2
    (
        cd "$debs"
        # shellcheck disable=SC2086 # names are words
        apt-get "${apt_options[@]}" download $packages
    )
}

# With an empty list of installed packages, apt resolves all libraries of the programs.
download_programs() {
    local debian=$1 debs=$2
    apt-get "${apt_options[@]}" -o "Dir::Cache::archives=$debs" -o APT::Architecture="$debian" \
        -o Debug::NoLocking=true --download-only -y install \
        "${guest_programs[@]/%/:$debian}" "${guest_libraries[@]}"
}

fetch() {
    local arch=$1 debian packages staging version deb
    debian=$(debian_arch "$arch")
    packages=$(kernel_packages "$arch")
    staging=$GPON_KERNEL_DIR/$arch.new
    rm -rf "$staging"
    mkdir -p "$staging/debs/partial" "$staging/root"
    echo "fetching for $arch: $packages ${guest_programs[*]}"
    download_kernel "$packages" "$staging/debs"
    download_programs "$debian" "$staging/debs"
    for deb in "$staging"/debs/*.deb; do
        [[ ${deb##*/} =~ $unwanted ]] || dpkg -x "$deb" "$staging/root"
    done
    version=${packages%%:*}
    version=${version#linux-headers-}
    rm -rf "$staging/debs" "${GPON_KERNEL_DIR:?}/$arch"
    mv "$staging" "$GPON_KERNEL_DIR/$arch"
    mend_headers "$(kernel_root "$arch")" "$version"
    # Last, because they mark the download as complete.
    wanted_packages >"$GPON_KERNEL_DIR/$arch/request"
    echo "$version" >"$GPON_KERNEL_DIR/$arch/version"
}

# The unpacked files may come from an older version of this script.
wanted_packages() {
    echo "${guest_programs[*]} ${guest_libraries[*]}"
}

is_there() {
    [ -f "$GPON_KERNEL_DIR/$1/version" ] &&
        [ "$(cat "$GPON_KERNEL_DIR/$1/request" 2>/dev/null)" = "$(wanted_packages)" ]
}

lock_downloads
again=
wanted=()
for word in "$@"; do
    case $word in
    --again) again=1 ;;
    *)
        debian_arch "$word" >/dev/null
        if [ -n "$again" ] || ! is_there "$word"; then
            wanted+=("$word")
        fi
        ;;
    esac
done
if [ ${#wanted[@]} -gt 0 ]; then
    apt_setup
    apt-get "${apt_options[@]}" update
    for arch in "${wanted[@]}"; do
        fetch "$arch"
    done
fi
