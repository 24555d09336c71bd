#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: npm-file.sh [--fetch] NAME
#
# Prints the path of a file from an npm package that tests use:
#   axe      axe-core, the checker of accessibility in the tests of the report
#   sarif    the JSON schema of SARIF 2.1.0
# --fetch fetches the package first, unless it is there. Without it, the registry is not asked.
# The status is 1 if the file is not there, with the reason on standard error.
set -eu
cd "$(dirname "$0")/.."
fetch=
if [ "${1:-}" = --fetch ]; then
    fetch=1
    shift
fi
case ${1:-} in
axe)
    package=axe-core version=4.10.3 file=axe.min.js
    sum=5e6edba515e70d25f6604d9815f064d859c5d1ea7ab661bbc4f87c88779ef0c21cae0abbeb636471ef39e9d62d2582e4b88a1866f19f4ecfcf6d986275e4dc12
    ;;
sarif)
    package=@microsoft/jest-sarif version=1.0.0-beta.0 file=lib/schemas/sarif-2.1.0-rtm.5.json
    sum=0357ce84f77a21ce620e4e05f583f0d6a341e1717eefe22f891ef197caf617a433424c7972963d2ec1a4dab1318852047016e3a559d29b058606e9004a4890f4
    ;;
*)
    echo "npm-file.sh: no file '${1:-}'" >&2
    exit 2
    ;;
esac
folder=${GPON_BUILD_DIR:-build}/npm/$1-$version

fetch_package() {
    local archive
    if ! command -v npm >/dev/null; then
        echo "npm-file.sh: no npm, which fetches $package" >&2
        return 1
    fi
    mkdir -p "$folder"
    archive=$(npm pack --silent --fetch-retries=1 --fetch-timeout=30000 \
        --pack-destination "$folder" "$package@$version" 2>/dev/null) || {
        echo "npm-file.sh: the registry does not deliver $package" >&2
        return 1
    }
    echo "$sum  $folder/$archive" | sha512sum --quiet --check >&2 || return 1
    tar -C "$folder" -xzf "$folder/$archive" "package/$file"
}

if [ ! -f "$folder/package/$file" ]; then
    if [ -z "$fetch" ]; then
        echo "npm-file.sh: $package is not there (./run test fetches it)" >&2
        exit 1
    fi
    fetch_package
fi
realpath "$folder/package/$file"
