#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: bench-fetch.sh ARCH
#
# Adds the program that configures Open vSwitch's kernel datapath, and its libraries, to the files of
# fetch.sh. Nothing is installed. Runs once; the stamp is in the same folder.
set -eu
cd "$(dirname "$(readlink -f "$0")")/../.."
# shellcheck source=scripts/kernel/common.sh
. scripts/kernel/common.sh
# shellcheck source=scripts/kernel/apt.sh
. scripts/kernel/apt.sh

[ $# = 1 ] || fail "an architecture is needed"
root=$(kernel_root "$1")
debian=$(debian_arch "$1")
# Of the dependencies of openvswitch-switch, the daemons' Python is not needed.
packages=(openvswitch-switch libbpf1 libcap-ng0 libelf1 libevent-2.1-7 libexpat1 libhogweed6
    libnettle8 libgmp10 libnghttp2-14 libnuma1 libprotobuf-c1 libssl3 libsystemd0 libunbound8
    libxdp1 zlib1g liblz4-1 liblzma5 libzstd1 libgcrypt20 libgpg-error0 libcap2)

lock_downloads
[ ! -f "$root/bench-is-there" ] || exit 0
debs=$(mktemp -d)
trap 'rm -rf "$debs"' EXIT
apt_setup ""
(cd "$debs" && apt-get "${apt_options[@]}" download "${packages[@]/%/:$debian}")
for deb in "$debs"/*.deb; do
    dpkg -x "$deb" "$root"
done
touch "$root/bench-is-there"
