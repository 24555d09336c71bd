# SPDX-License-Identifier: GPL-2.0-only
#
# Installs the packages that a subcommand needs. "need build test" looks up these groups in
# packages.txt, queries dpkg for the missing packages and installs them with apt. Sourced in the tree's
# root.

packages_of_group() {
    if ! grep -q "^$1:" packages.txt; then
        echo "packages.txt has no group '$1'" >&2
        return 1
    fi
    sed -n "s/^$1://p" packages.txt
}

# PACKAGE...: those that are not installed.
missing_packages() {
    # dpkg-query reports an unknown name as an error, so such a name has no line.
    dpkg-query -W -f='${Package} ${db:Status-Status}\n' "$@" 2>/dev/null |
        awk -v wanted="$*" '
            $2 == "installed" { there[$1] = 1 }
            END {
                count = split(wanted, names, " ")
                for (i = 1; i <= count; i++) if (!(names[i] in there)) print names[i]
            }'
}

apt_get() {
    local as_root=()
    if [ "$(id -u)" != 0 ]; then
        as_root=(sudo)
    fi
    # Waits for another running apt; retries, because mirrors drop a connection now and then.
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get -qq -o DPkg::Lock::Timeout=600 -o Acquire::Retries=3 "$@" </dev/null
}

install_packages() {
    if ! command -v apt-get >/dev/null; then
        echo "please install by hand, there is no apt-get here: $*" >&2
        return 1
    fi
    if [ "$(id -u)" != 0 ] && ! command -v sudo >/dev/null; then
        echo "please install as root, there is no sudo here: apt-get install $*" >&2
        return 1
    fi
    echo "installing: $*"
    mkdir -p "$GPON_BUILD_DIR/logs"
    # Stale package lists matter only if the installation below fails, and it reports that.
    if [ -z "${GPON_APT_UPDATED:-}" ]; then
        apt_get update >>"$GPON_BUILD_DIR/logs/apt.log" 2>&1 || true
        export GPON_APT_UPDATED=1
    fi
    if ! apt_get install -y --no-install-recommends "$@" >>"$GPON_BUILD_DIR/logs/apt.log" 2>&1; then
        tail -n 20 "$GPON_BUILD_DIR/logs/apt.log" >&2
        echo "apt-get install failed: $*" >&2
        return 1
    fi
}

need() {
    local group names=() missing
    for group in "$@"; do
        packages_of_group "$group" >/dev/null || return 1
        read -r -a names <<<"${names[*]} $(packages_of_group "$group" | tr '\n' ' ')"
    done
    # Groups have packages in common.
    mapfile -t names < <(printf '%s\n' "${names[@]}" | awk '!seen[$0]++')
    if ! command -v dpkg-query >/dev/null; then
        echo "not a Debian system: what is taken to be installed already: ${names[*]}" >&2
        return 0
    fi
    missing=$(missing_packages "${names[@]}")
    if [ -n "$missing" ]; then
        # shellcheck disable=SC2086 # names are words
        install_packages $missing || return 1
    fi
}
