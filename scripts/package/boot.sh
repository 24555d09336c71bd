# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash disable=SC2154 # variables of test-package.sh
#
# Boots a Debian 12 system twice under emulation, without a network. In the first boot, with an older kernel,
# the packages are installed there, DKMS builds the modules, they are loaded and used, and the kernel is
# upgraded. The second boot runs the new kernel with the modules that DKMS built for it during the upgrade,
# and removes the packages. guest.sh contains what runs inside. Emulation is slow, so the system itself, a
# compiler and the packages of the new kernel are put on the disk before. Sourced after system.sh.

guest_folder=$GPON_BUILD_DIR/package-guest
disk=$guest_folder/disk
guest_logs=$GPON_BUILD_DIR/logs
guest_programs=(systemd-sysv udev initramfs-tools zstd kmod make)

# The kernels of the release and of its security updates, of which two are in the lists at any time.
list_kernels() {
    inside apt-cache pkgnames linux-headers- | sed -n 's/^linux-headers-\(.*[0-9]-amd64\)$/\1/p' | sort -V
}

# The upgrade installs the kernel that linux-image-amd64 names, and the older one is the next in the lists.
choose_kernels() {
    local kernels
    new=$(inside apt-cache depends linux-headers-amd64 | sed -n 's/^ *Depends: linux-headers-//p') &&
        mapfile -t kernels < <(list_kernels | grep -B 1 -Fx "$new") &&
        old=${kernels[0]:-} && echo "$old, then $new"
    if [ "${#kernels[@]}" != 2 ]; then
        echo "the lists have no kernel older than '${new:-}': $(list_kernels | xargs)"
        return 1
    fi
}

# Chooses both kernels in the shell of the caller, which a step is.
prepare_lists() {
    suite_sources bookworm >"$root/etc/apt/sources.list" && update_lists && choose_kernels
}

# Without modules that no emulated disk needs, the guest makes its initramfs in seconds.
configure_initramfs() {
    mkdir -p "$root/etc/initramfs-tools/conf.d" &&
        echo MODULES=list >"$root/etc/initramfs-tools/conf.d/package-test" &&
        printf '%s\n' virtio_pci virtio_blk ext4 >"$root/etc/initramfs-tools/modules"
}

# What the packages depend on is installed here, so that DKMS alone compiles under emulation.
install_system() {
    configure_initramfs &&
        install "${guest_programs[@]}" "linux-image-$old" "linux-headers-$old" &&
        inside apt-get -qq -y --no-install-recommends satisfy "$(depends_of_packages)" &&
        inside apt-get clean &&
        install --download-only linux-image-amd64 linux-headers-amd64
}

depends_of_packages() {
    local package
    for package in "${packages[@]}"; do
        dpkg-deb -f "$package" Depends
    done | paste -s -d ,
}

# The test is a service of the system, after all others.
install_test() {
    local folder=$root/package-test units=$root/etc/systemd/system
    mkdir -p "$folder" "$units/multi-user.target.wants" &&
        cp scripts/package/guest.sh scripts/kernel/guest/{kernel_log,suite}.sh "${packages[@]}" "$folder" &&
        printf '%s=%s\n' old "$old" new "$new" version "$version" >"$folder/expected" &&
        printf '%s\n' '[Unit]' 'After=multi-user.target' 'SuccessAction=poweroff' \
            'FailureAction=poweroff' '[Service]' 'Type=oneshot' \
            'ExecStart=sh /package-test/guest.sh' >"$units/package-test.service" &&
        ln -sf ../package-test.service "$units/multi-user.target.wants"
}

# The kernel and the initramfs are loaded by the emulator, so there is no boot loader.
make_disk() {
    install_test && unmount_proc &&
        cp "$root/boot/vmlinuz-$old" "$root/boot/initrd.img-$old" "$guest_folder" &&
        rm -f "$disk" && mke2fs -q -F -t ext4 -d "$root" "$disk" 8G && remove_system
}

# The kernel that the guest has installed, from its disk.
take_new_kernel() {
    local file
    for file in "vmlinuz-$new" "initrd.img-$new"; do
        debugfs -R "dump /boot/$file $guest_folder/$file" "$disk"
        if [ ! -s "$guest_folder/$file" ]; then
            echo "the guest's disk has no /boot/$file"
            return 1
        fi
    done
}

# OUTPUT CONSOLE KERNEL WORD...: an emulated processor is late on a busy machine, which the kernel would
# report as a fault. Programs at random addresses are translated anew at each start.
emulate() {
    timeout --foreground "${GPON_GUEST_SECONDS:-2700}" qemu-system-x86_64 -M q35 \
        -accel tcg,thread=multi -smp 2 -cpu max -m "${GPON_GUEST_MEMORY:-2048}" -display none -nodefaults \
        -no-reboot -serial "file:$2" -serial "file:$1" \
        -drive "file=$disk,format=raw,if=virtio,cache=unsafe" \
        -kernel "$guest_folder/vmlinuz-$3" -initrd "$guest_folder/initrd.img-$3" \
        -append "root=/dev/vda rw console=ttyS0 quiet panic=-1 systemd.mask=serial-getty@ttyS0.service \
            norandmaps no_timer_check watchdog_thresh=60 rcupdate.rcu_cpu_stall_timeout=180 ${*:4}"
}

# WHICH KERNEL: passes if the guest reaches the end of its test.
boot_guest() {
    local output=$guest_logs/package-guest-$1.out console=$guest_logs/package-guest-$1.console status=0
    rm -f "$output" "$console"
    emulate "$output" "$console" "$2" "package_test=$1" || status=$?
    tr -d '\r' <"$output"
    ! grep -q '^@@ passed' "$output" || return "$status"
    [ "$status" != 124 ] || echo "the guest was stopped after ${GPON_GUEST_SECONDS:-2700} s"
    echo "the kernel's messages are in $console:"
    tail -n 20 "$console"
    return 1
}

# WHICH: the parts of a boot with their times.
show_parts() {
    tr -d '\r' <"$guest_logs/package-guest-$1.out" |
        awk '$1 == "@@" && $2 == "part" {printf "  %-12s %-7s %4d s\n", $3, $4, $5}'
}

boot_and_show() {
    local status=0
    step "boot-$1" boot_guest "$1" "$2" || status=$?
    show_parts "$1"
    return "$status"
}

# The table of the results: each part of each boot.
print_results() {
    local which
    echo "The packages in a booted Debian 12 (amd64, two emulated processors) without a network: \`gponflow\` and"
    echo "\`gpon-flow-dkms\` $version, first with Linux $old, after the upgrade with $new."
    printf '\n| boot | part | result | time |\n|---|---|---|---|\n'
    for which in old new; do
        tr -d '\r' <"$guest_logs/package-guest-$which.out" | awk -v boot="${!which}" \
            '$1 == "@@" && $2 == "part" {printf "| %s | %s | %s | %d s |\n", boot, $3, $4, $5}'
    done
    # shellcheck disable=SC2016 # the marks of a command in a document
    printf '\nMeasured by `./run test-package boot --write`, in %d s.\n' $((SECONDS - guest_start))
}

test_in_guest() {
    guest_start=$SECONDS
    mkdir -p "$guest_folder"
    step guest-debian fresh_system || return
    step guest-kernels prepare_lists || return
    step guest-system install_system || return
    step guest-disk make_disk || return
    boot_and_show old "$old" || return
    step new-kernel take_new_kernel || return
    boot_and_show new "$new" || return
    rm -rf "$guest_folder"
    echo "gpon-flow-dkms $version runs on $old and, after an upgrade in the guest, on $new"
}
