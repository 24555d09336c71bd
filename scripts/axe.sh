#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# Prints the name of the file of axe-core, the checker of accessibility in the tests of the report.
# Fetches the package once, with npm.
set -eu
cd "$(dirname "$0")/.."
version=4.10.3
sum=5e6edba515e70d25f6604d9815f064d859c5d1ea7ab661bbc4f87c88779ef0c21cae0abbeb636471ef39e9d62d2582e4b88a1866f19f4ecfcf6d986275e4dc12
folder=${GPON_BUILD_DIR:-build}/axe-$version
if [ ! -f "$folder/package/axe.min.js" ]; then
    if ! command -v npm >/dev/null; then
        echo "axe.sh: there is no npm here: the accessibility of the report is not checked" >&2
        exit 1
    fi
    mkdir -p "$folder"
    archive=$(npm pack --silent --pack-destination "$folder" "axe-core@$version" 2>/dev/null)
    echo "$sum  $folder/$archive" | sha512sum --quiet --check >&2
    tar -C "$folder" -xzf "$folder/$archive" package/axe.min.js
fi
realpath "$folder/package/axe.min.js"
