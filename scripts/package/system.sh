# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash disable=SC2154 # variables of test-package.sh
#
# A Debian 12 system in the folder $root, in which the packages are tested. Sourced in the root of the tree,
# which sets $root, $packages (their files) and $version.

. scripts/fail.sh
. scripts/kernel/apt.sh

inside() {
    chroot "$root" env DEBIAN_FRONTEND=noninteractive LC_ALL=C "$@"
}

unmount_proc() {
    ! mountpoint -q "$root/proc" || umount "$root/proc"
}

# A folder whose /proc is still mounted must not be deleted.
remove_system() {
    unmount_proc && rm -rf "$root"
}

# From the same mirror as the packages of this machine; without one the choice is left to debootstrap.
fresh_system() {
    local mirror
    mirror=${GPON_DEBIAN_MIRROR:-$(mirror_of Debian)}
    remove_system && mkdir -p "$root" &&
        debootstrap --variant=minbase bookworm "$root" ${mirror:+"$mirror"} &&
        mount -t proc proc "$root/proc"
}

update_lists() {
    inside apt-get -qq -o Acquire::Retries=3 update
}

install() {
    inside apt-get -qq -y -o Acquire::Retries=3 --no-install-recommends install "$@"
}
