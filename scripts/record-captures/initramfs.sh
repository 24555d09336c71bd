#!/bin/sh
# SPDX-License-Identifier: GPL-2.0-only
# Makes CACHE/initramfs.gz of the unpacked packages and the guest's scripts.
# usage: initramfs.sh CACHE
set -eu

here=$(cd "$(dirname "$0")" && pwd)
cache=$1
root=$cache/root
tree=$cache/tree
release=$(cat "$cache/release")

programs="ip tc drill tcpdump ethtool dnsmasq pppd pppoe pppoe-server ping socat iperf sipp"
modules="veth bridge 8021q pppoe ppp_async sch_ingress cls_u32 act_skbedit act_pedit act_csum"

find_in_root() {
    find "$root" -name "$1" ! -type d ! -path '*/share/*' | sort | head -1
}

# Not ldd: it would find the libraries of the recording machine.
add_libraries() {
    objdump -p "$1" | awk '$1 == "NEEDED" { print $2 }' | while read -r name; do
        [ ! -e "$tree/lib/$name" ] || continue
        file=$(find_in_root "$name")
        if [ -z "$file" ]; then
            echo "initramfs.sh: no library $name for $1" >&2
            exit 1
        fi
        cp -L "$file" "$tree/lib/$name"
        add_libraries "$file"
    done
}

add_program() {
    file=$(find "$root/bin" "$root/sbin" "$root/usr/bin" "$root/usr/sbin" -name "$1" -type f |
        head -1)
    if [ -z "$file" ]; then
        echo "initramfs.sh: no program $1 in the unpacked packages" >&2
        exit 1
    fi
    cp "$file" "$tree/usr/bin/$1"
    add_libraries "$file"
}

add_modules() {
    mkdir -p "$tree/modules"
    [ -f "$root/lib/modules/$release/modules.dep" ] || depmod -b "$root" "$release"
    for module in $modules; do
        modprobe -d "$root" -S "$release" --show-depends "$module"
    done | awk '$1 == "insmod" && !seen[$2]++ { print $2 }' | while read -r file; do
        cp "$file" "$tree/modules/"
        basename "$file" >> "$tree/modules/order"
    done
}

rm -rf "$tree"
mkdir -p "$tree/bin" "$tree/lib" "$tree/usr/bin" "$tree/usr/lib/pppd" "$tree/play"
ln -s bin "$tree/usr/sbin"
ln -s lib "$tree/lib64"
cp -L "$(find_in_root 'ld-linux-x86-64.so.2')" "$tree/lib/ld-linux-x86-64.so.2"
# Thread cancellation loads this one by name at run time.
cp -L "$(find_in_root 'libgcc_s.so.1')" "$tree/lib/libgcc_s.so.1"
for program in busybox $programs; do
    add_program "$program"
done
mv "$tree/usr/bin/busybox" "$tree/bin/"
cp -a "$root"/usr/lib/pppd/. "$tree/usr/lib/pppd/"
cp -a "$root"/usr/share/sip-tester/g711a.pcap "$tree/play/"
add_modules
cp "$here"/guest/* "$tree/play/"
ln -s play/init "$tree/init"
# Independent of the folder's history: the same packages produce the same archive, and the same
# archive produces the same recording.
find "$tree" -exec touch -h -d @0 {} +
(cd "$tree" && find . | LC_ALL=C sort | cpio -o -H newc --quiet --reproducible -R 0:0 |
    gzip -n -1) > "$cache/initramfs.gz"
