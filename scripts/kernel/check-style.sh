#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: check-style.sh
#
# Runs the kernel's checkpatch.pl on the C sources of both modules. It is part of Debian's kernel
# source, of which only the few files that it reads are kept. A source unpacked for debug kernels is
# used if it exists.
set -eu
cd "$(dirname "$(readlink -f "$0")")/../.."
# shellcheck source=scripts/kernel/common.sh
. scripts/kernel/common.sh
# shellcheck source=scripts/kernel/apt.sh
. scripts/kernel/apt.sh

exceptions=scripts/kernel/checkpatch-exceptions
judge=$GPON_KERNEL_DIR/source/scripts
[ -f "$judge/checkpatch.pl" ] || judge=$GPON_KERNEL_DIR/checkpatch

fetch_judge() {
    local package staging=$judge.new
    apt_setup ""
    package=$(dependency '^linux-source-' "linux-source:all")
    [ -n "$package" ] || fail "the package lists know no kernel source"
    rm -rf "$staging"
    mkdir -p "$staging"
    (cd "$staging" && apt-get "${apt_options[@]}" download "$package:all")
    dpkg --fsys-tarfile "$staging"/*.deb | tar -xO --wildcards './usr/src/*.tar.xz' |
        tar -xJ -C "$staging" --strip-components=2 --wildcards '*/scripts/checkpatch.pl' \
            '*/scripts/spelling.txt' '*/scripts/const_structs.checkpatch'
    rm "$staging"/*.deb
    mv "$staging" "$judge"
}

# Its reports without the exceptions.
remarks() {
    perl "$judge/checkpatch.pl" --no-tree --no-summary --terse --show-types --file \
        src/platform/linux/*.[ch] softonu/*.[ch] |
        awk 'NR == FNR { if (!/^#/) known[$1, $2] = 1; next }
            match($0, /: (ERROR|WARNING|CHECK):[A-Z_]+: /) {
                split($0, place, ":")
                split(substr($0, RSTART, RLENGTH), word, ":")
                if (("*", word[3]) in known || (place[1], word[3]) in known) next
            }
            { print }' "$exceptions" -
}

lock_downloads
[ -f "$judge/checkpatch.pl" ] || fetch_judge
found=$(remarks)
if [ -n "$found" ]; then
    echo "$found"
    fail "the kernel's style is another"
fi
