#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: check-packages.sh GPONFLOW.deb GPON-FLOW-DKMS.deb
#
# Checks the contents of the Debian packages without installing them.
set -eu
# shellcheck source=scripts/complain.sh
. "$(dirname "$0")/complain.sh"
tool=$1
modules=$2

list() {
    dpkg-deb --fsys-tarfile "$1" | tar -t | sed 's#^\./##' | grep -v '/$'
}

# PACKAGE FILE...: each file exists and is not empty.
has() {
    local package=$1 file
    shift
    for file in "$@"; do
        if [ "$(dpkg-deb --fsys-tarfile "$package" | tar -xO "./$file" 2>/dev/null | wc -c)" = 0 ]; then
            complain "$(basename "$package") has no $file"
        fi
    done
}

# PACKAGE PATTERN CONTENT: no file name matches.
has_not() {
    local found
    found=$(list "$1" | grep -E "$2" || true)
    [ -z "$found" ] || complain "$(basename "$1") has $3: $found"
}

# PACKAGE FIELD WORD...
says() {
    local package=$1 field=$2 value word
    shift 2
    value=$(dpkg-deb -f "$package" "$field" | tr ',|' '  ')
    for word in "$@"; do
        [[ " $value " == *" $word "* ]] ||
            complain "$(basename "$package"): $field without $word: $value"
    done
}

# The package contains every source of the modules.
has_sources() {
    local missing
    missing=$(comm -23 \
        <(find Kbuild src softonu -type f ! -name '*.mod.c' ! -path 'src/platform/host/*' \
            \( -name Kbuild -o -name '*.[ch]' -o -name '*.cpp' -o -name '*.mk' \) | sort) \
        <(list "$modules" | sed -n 's#^usr/src/gpon-flow-[^/]*/##p' | sort))
    [ -z "$missing" ] || complain "$(basename "$modules") lacks sources: $missing"
}

version=$(dpkg-deb -f "$modules" Version)
has "$tool" usr/bin/gponflow usr/share/man/man1/gponflow.1.gz \
    usr/share/bash-completion/completions/gponflow usr/share/zsh/vendor-completions/_gponflow \
    usr/share/fish/vendor_completions.d/gponflow.fish usr/share/man/man1/gponflow-explain.1.gz \
    usr/share/gponflow/schemas/gponflow-explain-1.schema.json usr/share/doc/gponflow/tools.md \
    usr/share/doc/gponflow/examples/scenarios/demo.scn usr/share/doc/gponflow/copyright
has_not "$tool" '^usr/src/|\.ko$|\.o$|tests/' "what is no part of it"
says "$tool" Depends libpcap0.8 libmnl0 libtracefs1 libtraceevent1 libc6 liburcu8 libncursesw6
says "$tool" Recommends graphviz

has "$modules" "usr/src/gpon-flow-$version/dkms.conf" usr/lib/tmpfiles.d/gpon-flow-dkms.conf
has_sources
has_not "$modules" '\.ko$|\.o$|CMakeLists|tool/|tests/|platform/host' "what is no part of it"
says "$modules" Depends dkms g++
exit "$failed"
