# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash
#
# Downloads packages without installing them. apt uses its own lists below build/kernel, so this needs
# no root and does not change the machine. Sourced after common.sh.

apt_dir=$GPON_KERNEL_DIR/apt

# Only one caller at a time downloads: they share apt's lists and replace the same folders. The lock is
# held until the caller's shell ends.
lock_downloads() {
    exec {downloads_lock}>"$GPON_KERNEL_DIR/lock"
    flock "$downloads_lock"
}

apt_setup() {
    mkdir -p "$apt_dir/lists/partial" "$apt_dir/archives/partial"
    : >"$apt_dir/status"
    # The sources, their keys and proxies are those of the machine.
    apt_options=(-qq -o "Dir::State::Lists=$apt_dir/lists" -o "Dir::State::status=$apt_dir/status"
        -o "Dir::Cache=$apt_dir" -o "Dir::Cache::archives=$apt_dir/archives"
        -o APT::Architectures::=amd64 -o APT::Architectures::=arm64
        -o APT::Install-Recommends=false -o APT::Sandbox::User=root -o Acquire::Retries=3)
}

# FIELD PACKAGE: a field of the newest version of a package.
package_field() {
    apt-cache "${apt_options[@]}" show --no-all-versions "$2" | sed -n "s/^$1: //p"
}

# The package whose name matches PATTERN in the dependencies of PACKAGE.
dependency() {
    package_field Depends "$2" | tr ',|' '\n' | awk -v pattern="$1" '$1 ~ pattern {print $1; exit}'
}
