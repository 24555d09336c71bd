# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash disable=SC2154 # variables of test-package.sh
#
# Installs the packages in a fresh system without booting it, where DKMS builds the modules for the kernel
# whose headers are installed. Sourced after system.sh. Each step returns the status of its first failure.

# The program that creates device nodes is installed before the packages, as on a running system.
install_packages_under_test() {
    cp "${packages[@]}" "$root" &&
        update_lists &&
        install systemd-standalone-tmpfiles man-db &&
        install "${packages[@]/#*\//\/}" linux-headers-amd64 kmod &&
        rm "$root"/*.deb
}

kernel_of_headers() {
    find "$root/usr/src" -maxdepth 1 -name 'linux-headers-*-amd64' -printf '%f\n' |
        sed 's/^linux-headers-//'
}

# DKMS has installed the module for the kernel whose headers are installed.
check_module() {
    local file=/lib/modules/$kernel/updates/dkms/$1.ko
    [ -f "$root$file" ] && [ "$(inside modinfo -F vermagic "$file" | cut -d ' ' -f 1)" = "$kernel" ]
}

# Loading one module loads the other too.
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

# For root only: every opener can configure the line.
check_node() {
    local node
    node=$(inside stat -c '%F %t:%T %a %U' /dev/gpon_flow) &&
        echo "$node" && [ "$node" = 'character special file b8:0 600 root' ]
}

# The examples of the package print their transcripts.
check_tool() {
    local examples=$root/usr/share/doc/gponflow/examples
    inside gponflow --help | grep -q '^  explain ' &&
        [ "$(inside gponflow --version)" = "gponflow $version" ] &&
        inside sh -c "cd ${examples#"$root"} && gponflow run --mask-lines scenarios/demo.scn" |
        diff "$examples/scenarios/demo.transcript" -
}

check_manual() {
    [ "$(inside man -w gponflow)" = /usr/share/man/man1/gponflow.1.gz ] &&
        inside man gponflow-explain >"$root/page" && grep -q 'gponflow explain \[OPTIONS\]' "$root/page" &&
        rm "$root/page"
}

check_completion() {
    # shellcheck disable=SC2016 # the shell inside has these variables
    [ "$(inside bash -c '
        . /usr/share/bash-completion/completions/gponflow
        COMP_WORDS=(gponflow set ena) COMP_CWORD=2
        _gponflow
        echo "${COMPREPLY[*]}"')" = enable ]
}

remove_packages() {
    inside dpkg --purge gponflow gpon-flow-dkms
}

# A package may not remove a device node (the next boot does), and man caches its pages.
check_gone() {
    ! inside dkms status | grep . &&
        ! find "$root" -xdev -name '*gpon*' ! -path "$root/dev/gpon_flow" \
            ! -path "$root/var/cache/man/*" | grep .
}

test_in_chroot() {
    step debian fresh_system || return
    step install install_packages_under_test || return
    kernel=$(kernel_of_headers)
    step modules check_modules || return
    step silence check_silence || return
    step node check_node || return
    step tool check_tool || return
    step manual check_manual || return
    step completion check_completion || return
    step remove remove_packages || return
    step gone check_gone || return
    remove_system
    echo "gponflow $version runs, gpon-flow-dkms $version builds and installs for $kernel"
}
