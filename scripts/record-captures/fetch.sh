#!/bin/sh
# SPDX-License-Identifier: GPL-2.0-only
# Unpacks the kernel and the guest's programs, with their libraries, below CACHE/root.
# usage: fetch.sh PACKAGE_LIST CACHE
#
# Nothing is installed: a DHCP server or a PPP daemon must not run on the recording machine.
set -eu

list=$1
cache=$2
if [ "$(dpkg --print-architecture)" != amd64 ]; then
    echo "fetch.sh: the recording guest is amd64 and needs an amd64 Debian to fetch from" >&2
    exit 1
fi
wanted=$(sed -n 's/^record-guest:[[:space:]]*//p' "$list")
if [ -z "$wanted" ]; then
    echo "fetch.sh: $list has no group record-guest:" >&2
    exit 1
fi

# The kernel's release changes with every security update; the meta package names the current one.
resolve_kernel() {
    apt-cache depends linux-image-amd64 | sed -n 's/^ *Depends: \(linux-image-[0-9].*\)/\1/p' | head -1
}

# Libraries only: the other dependencies (perl, debconf, init) serve an installed system.
resolve_libraries() {
    # shellcheck disable=SC2086
    apt-cache depends --recurse --no-recommends --no-suggests --no-conflicts --no-breaks \
        --no-replaces --no-enhances $wanted | grep -E '^(lib|zlib)[a-z0-9.+-]*$' |
        grep -vE 'perl|^libpam-|-common$' | sort -u
}

kernel=$(resolve_kernel)
if [ -z "$kernel" ]; then
    apt-get update -q
    kernel=$(resolve_kernel)
fi
packages="$kernel $wanted $(resolve_libraries)"
mkdir -p "$cache/deb"
# shellcheck disable=SC2086
apt-get download --print-uris $packages | awk '{ print $2, $NF }' | sort > "$cache/wanted"
if [ -f "$cache/have" ] && cmp -s "$cache/wanted" "$cache/have"; then
    exit 0
fi
rm -rf "$cache/have" "$cache/root" "$cache/deb"
mkdir -p "$cache/deb" "$cache/root"
# shellcheck disable=SC2086
(cd "$cache/deb" && apt-get download -q -o APT::Sandbox::User="$(id -un)" $packages)
for deb in "$cache"/deb/*.deb; do
    dpkg -x "$deb" "$cache/root"
done
echo "${kernel#linux-image-}" > "$cache/release"
mv "$cache/wanted" "$cache/have"
