# SPDX-License-Identifier: GPL-2.0-only
# install the Debian package in a fresh Debian 12, let DKMS build there; takes minutes, needs root
set -eu
. scripts/log.sh
. scripts/packages.sh

# Downloads a whole system, so this is no part of "./run test".
root=$GPON_BUILD_DIR/package-test

fail() {
    echo "test-package: $*" >&2
    exit 1
}

inside() {
    chroot "$root" env DEBIAN_FRONTEND=noninteractive LC_ALL=C "$@"
}

unmount_proc() {
    ! mountpoint -q "$root/proc" || umount "$root/proc"
}

# The functions from here to check_gone are steps: each ends with the status of its first failure.

fresh_system() {
    # shellcheck disable=SC2086 # nothing leaves the choice of a mirror to debootstrap
    rm -rf "$root" && mkdir -p "$root" &&
        debootstrap --variant=minbase bookworm "$root" ${GPON_DEBIAN_MIRROR:-} &&
        mount -t proc proc "$root/proc"
}

install_package() {
    cp "$package" "$root/gpon-flow-dkms.deb" &&
        inside apt-get -qq -o Acquire::Retries=3 update &&
        inside apt-get -qq -y -o Acquire::Retries=3 --no-install-recommends install \
            /gpon-flow-dkms.deb linux-headers-amd64 kmod
}

kernel_of_headers() {
    find "$root/usr/src" -maxdepth 1 -name 'linux-headers-*-amd64' -printf '%f\n' |
        sed 's/^linux-headers-//'
}

# The module that DKMS installed is there, and for the kernel that has its headers here.
check_module() {
    local file=/lib/modules/$kernel/updates/dkms/$1.ko
    [ -f "$root$file" ] && [ "$(inside modinfo -F vermagic "$file" | cut -d ' ' -f 1)" = "$kernel" ]
}

# One module brings the other along.
check_modules() {
    inside dkms status
    inside dkms status | grep -qx "gpon-flow/$version, $kernel, x86_64: installed" &&
        check_module gpon_softonu && check_module gpon_flow &&
        [ "$(inside modprobe -S "$kernel" --show-depends gpon_flow | grep -c updates/dkms)" = 2 ]
}

check_silence() {
    local log=$root/var/lib/dkms/gpon-flow/$version/$kernel/x86_64/log/make.log
    grep -q 'gpon_flow\.ko' "$log" && ! grep -n -i -E 'warning|error:|objtool' "$log"
}

remove_package() {
    inside dpkg --purge gpon-flow-dkms
}

check_gone() {
    ! inside dkms status | grep . &&
        ! find "$root/lib/modules" "$root/usr/src" -name '*gpon*' | grep .
}

[ "$(id -u)" = 0 ] || fail "a system of its own takes root rights"
[ "$(dpkg --print-architecture)" = amd64 ] || fail "only amd64 machines can do this"
need package package-test
package=$(bash scripts/run/package.sh | tail -n 1)
[ -f "$package" ] || fail "no package was built: $package"
version=$(dpkg-deb -f "$package" Version)

trap unmount_proc EXIT
unmount_proc
step debian fresh_system
step install install_package
kernel=$(kernel_of_headers)
step modules check_modules
step silence check_silence
step remove remove_package
step gone check_gone
unmount_proc
rm -rf "$root"
echo "gpon-flow-dkms $version builds and installs for $kernel"
