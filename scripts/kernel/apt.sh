# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash
#
# Downloads packages without installing them. apt uses its own lists below build/kernel, so this needs
# no root and does not change the machine. Sourced after fail.sh.

# Only one caller at a time downloads: they share apt's lists and replace the same folders. The lock is
# held until the caller's shell ends.
lock_downloads() {
    exec {downloads_lock}>"$GPON_KERNEL_DIR/lock"
    flock "$downloads_lock"
}

# LABEL: the mirror from which the machine's own lists of that label come.
mirror_of() {
    # shellcheck disable=SC2016 # apt replaces the name
    apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Origin: Debian' \
        "Label: $1" | head -n 1
}

# SUITE [UPDATES]: the sources of a suite, with its security updates if it has any and UPDATES is not "none".
suite_sources() {
    local keys=/usr/share/keyrings/debian-archive-keyring.gpg mirror security
    mirror=${GPON_DEBIAN_MIRROR:-$(mirror_of Debian)}
    security=${GPON_DEBIAN_SECURITY_MIRROR:-$(mirror_of Debian-Security)}
    [ -n "$mirror" ] || fail "apt knows no mirror of Debian, please set GPON_DEBIAN_MIRROR"
    echo "deb [signed-by=$keys] $mirror $1 main"
    case $1 in
    sid | *-*) ;;
    *) [ -z "$security" ] || [ "${2:-}" = none ] || echo "deb [signed-by=$keys] $security $1-security main" ;;
    esac
}

# SUITE [UPDATES]: if SUITE is empty, the sources are those of the machine. Keys and proxies always are. If
# UPDATES is "none", the suite's security updates are left out. The configuration of a container keeps apt
# from storing the binary form of its lists, without which each query parses them all.
apt_setup() {
    local apt_dir=$GPON_KERNEL_DIR/apt${1:+/$1}${2:+-without-updates}
    mkdir -p "$apt_dir/lists/partial" "$apt_dir/archives/partial"
    [ -f "$apt_dir/status" ] || : >"$apt_dir/status"
    apt_options=(-qq -o "Dir::State::Lists=$apt_dir/lists" -o "Dir::State::status=$apt_dir/status"
        -o "Dir::Cache=$apt_dir" -o "Dir::Cache::archives=$apt_dir/archives"
        -o Dir::Cache::pkgcache=pkgcache.bin -o Dir::Cache::srcpkgcache=srcpkgcache.bin
        -o APT::Architectures::=amd64 -o APT::Architectures::=arm64
        -o APT::Install-Recommends=false -o APT::Sandbox::User=root -o Acquire::Retries=3)
    if [ -n "$1" ]; then
        suite_sources "$1" "${2:-}" >"$apt_dir/sources.list"
        apt_options+=(-o "Dir::Etc::sourcelist=$apt_dir/sources.list" -o Dir::Etc::sourceparts=-)
    fi
    # Kernels, tracers and the kernel's source are fetched one after another, mostly from one suite.
    if [ -z "$(find "$apt_dir/updated" -mmin -60 2>/dev/null)" ]; then
        apt-get "${apt_options[@]}" update
        touch "$apt_dir/updated"
    fi
}

# FIELD PACKAGE: a field of the newest version of a package.
package_field() {
    apt-cache "${apt_options[@]}" show --no-all-versions "$2" | sed -n "s/^$1: //p"
}

# The package whose name matches PATTERN in the dependencies of PACKAGE.
dependency() {
    package_field Depends "$2" | tr ',|' '\n' | awk -v pattern="$1" '$1 ~ pattern {print $1; exit}'
}
