#!/bin/sh
# SPDX-License-Identifier: GPL-2.0-only
#
# Runs as a service of the booted system, for the boot that the kernel command line names. The system powers
# off after it. Prints to the second serial line, which the kernel does not use. The host reads the lines that
# begin with "@@".
# shellcheck disable=SC2154 # the variables of the file "expected"
set -u
here=${0%/*}
# old and new (kernel versions), version (of the packages)
# shellcheck disable=SC1091 # written by the host
. "$here/expected"
# shellcheck source=scripts/kernel/guest/kernel_log.sh
. "$here/kernel_log.sh"
# shellcheck source=scripts/kernel/guest/suite.sh
. "$here/suite.sh"
exec >/dev/ttyS1 2>&1 </dev/null
export DEBIAN_FRONTEND=noninteractive LC_ALL=C HOME=/root
examples=/usr/share/doc/gponflow/examples

seconds() {
    cut -d. -f1 /proc/uptime
}

# NAME COMMAND...: a part of the test; nothing runs after one that failed.
part() {
    name=$1 start=$(seconds) result=ok
    shift
    echo "-- $name: $*"
    "$@" || result=FAILED
    echo "@@ part $name $result $(($(seconds) - start)) s"
    [ $result = ok ] || finish failed
}

# RESULT
finish() {
    echo "@@ $1"
    exit
}

runs_kernel() {
    echo "running $(uname -r)"
    [ "$(uname -r)" = "$1" ]
}

# KERNEL: DKMS has built and installed the modules for it.
dkms_installed() {
    dkms status >/run/dkms_status
    cat /run/dkms_status
    grep -qx "gpon-flow/$version, $1, x86_64: installed" /run/dkms_status && return
    cat "/var/lib/dkms/gpon-flow/$version/build/make.log"
    return 1
}

# From the packages beside this script: there is no network here.
install_packages() {
    apt-get -y --no-install-recommends install "$here"/*.deb && rm "$here"/*.deb
}

load_modules() {
    modprobe gpon_flow
}

are_loaded() {
    grep '^gpon_' /proc/modules
    [ -d /sys/module/gpon_flow ] && [ -d /sys/module/gpon_softonu ] &&
        [ "$(modinfo -F filename gpon_flow)" = "/lib/modules/$(uname -r)/updates/dkms/gpon_flow.ko" ]
}

# The node is for root only. At a boot it is made from the package's file, because /dev is empty then.
node_is_there() {
    stat -c '%F %t:%T %a %U' /dev/gpon_flow
    [ "$(stat -c '%F %t:%T %a %U' /dev/gpon_flow)" = 'character special file b8:0 600 root' ]
}

# STATE: the module prints the state of the engine to the kernel log.
engine_is() {
    echo 'show en_flag' >/proc/gpon_flow/debug && dmesg | tail -n 3 &&
        dmesg | tail -n 3 | grep -qF "gpon flow is [$1]!"
}

proc_entry_works() {
    [ "$(stat -c %a /proc/gpon_flow/debug)" = 600 ] && engine_is DISABLE &&
        echo 'set enable 1' >/proc/gpon_flow/debug && engine_is ENABLE &&
        echo 'set enable 0' >/proc/gpon_flow/debug && engine_is DISABLE
}

tool_reads_module() {
    gponflow stat && gponflow show status && gponflow show rules && gponflow show me
}

unload_modules() {
    modprobe -r gpon_flow && [ ! -d /sys/module/gpon_flow ] && [ ! -d /sys/module/gpon_softonu ]
}

# The scenario loads the module itself; the soft ONU is there before it.
scenario_runs() {
    modprobe gpon_softonu && cd "$examples" &&
        gponflow run --backend=device --mask-lines scenarios/demo.scn >/run/got &&
        wanted_transcript scenarios/demo.transcript >/run/wanted && diff /run/wanted /run/got
    status=$?
    cd /
    [ ! -d /sys/module/gpon_flow ] || modprobe -r gpon_flow
    [ ! -d /sys/module/gpon_softonu ] || modprobe -r gpon_softonu
    return "$status"
}

# Since the boot, in which the second boot loads the module.
kernel_is_content() {
    dmesg >/run/log
    kernel_log_is_clean /run/log && return
    kernel_log_faults /run/log
    return 1
}

check_module() {
    part loaded are_loaded
    part node node_is_there
    part proc proc_entry_works
    part tool tool_reads_module
    part unload unload_modules
    part scenario scenario_runs
    part log kernel_is_content
}

# The packages of the newest kernel are in apt's cache. Debian's hooks run DKMS and make the initramfs.
upgrade_kernel() {
    apt-get -y --no-install-recommends install linux-image-amd64 linux-headers-amd64 &&
        [ -s "/boot/vmlinuz-$new" ] && [ -s "/boot/initrd.img-$new" ]
}

load_at_each_boot() {
    echo gpon_flow >/etc/modules-load.d/package-test.conf
}

purge_packages() {
    rm /etc/modules-load.d/package-test.conf
    dpkg --purge gponflow gpon-flow-dkms
}

# man caches its pages. /dev is not of the disk; the node in it is gone with the next boot.
nothing_is_left() {
    ! dkms status | grep . && ! modinfo gpon_flow 2>/dev/null && ! modinfo gpon_softonu 2>/dev/null &&
        ! find / -xdev -name '*gpon*' ! -path '/var/cache/man/*' | grep .
}

boot_old() {
    part kernel runs_kernel "$old"
    part install install_packages
    part dkms dkms_installed "$old"
    part load load_modules
    check_module
    part upgrade upgrade_kernel
    part dkms-new dkms_installed "$new"
    part modules-load load_at_each_boot
}

# The system has loaded the module by its name before this runs.
boot_new() {
    part kernel runs_kernel "$new"
    part dkms-new dkms_installed "$new"
    check_module
    part purge purge_packages
    part gone nothing_is_left
}

case " $(cat /proc/cmdline) " in
*" package_test=old "*) boot_old ;;
*" package_test=new "*) boot_new ;;
esac
finish passed
