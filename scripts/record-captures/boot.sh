#!/bin/sh
# SPDX-License-Identifier: GPL-2.0-only
# Boots the guest, waits for its power-off and unpacks the recorded frames into CACHE/taps.
# usage: boot.sh CACHE
set -eu

cache=$1
release=$(cat "$cache/release")
limit=${RECORD_TIMEOUT:-600}
unpacked=$cache/root

rm -rf "$cache/taps" "$cache/handed-out"
mkdir -p "$cache/taps"
# The guest's clock counts instructions, and clock and random numbers have fixed start values, so the
# recording depends neither on the load of the machine nor on the day. The second serial port
# transfers the recording, so the guest needs no disk and no shared folder.
timeout "$limit" qemu-system-x86_64 -M q35 -accel tcg,thread=single -cpu max -smp 1 -m 768 \
    -icount shift=0,sleep=off -seed 1 -rtc base=2024-01-01T12:00:00,clock=vm \
    -display none -nodefaults -no-reboot \
    -chardev "file,id=console,path=$cache/console" -serial chardev:console \
    -chardev "file,id=out,path=$cache/handed-out" -serial chardev:out \
    -kernel "$unpacked/boot/vmlinuz-$release" -initrd "$cache/initramfs.gz" \
    -append "console=ttyS0 panic=-1 quiet" < /dev/null || {
    tail -40 "$cache/console" >&2
    echo "boot.sh: the guest did not finish within $limit s; console: $cache/console" >&2
    exit 1
}
if ! base64 -di "$cache/handed-out" | tar xz -C "$cache/taps" ||
    [ ! -e "$cache/taps/complete" ]; then
    tail -40 "$cache/console" >&2
    echo "boot.sh: the guest recorded nothing or only a part; console: $cache/console" >&2
    exit 1
fi
