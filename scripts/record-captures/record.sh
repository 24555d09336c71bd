#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-only
# Records captures/ again: runs a subscriber line in a guest kernel and records its frames.
#
# The guest is Debian's own kernel under emulation because a development machine's kernel often
# lacks VLAN devices and PPP. Downloads and raw recordings stay below the build folder;
# RECORD_OUT names another folder for the result.
set -euo pipefail

cd "$(dirname "$0")/../.."
here=scripts/record-captures
GPON_BUILD_DIR=${GPON_BUILD_DIR:-$PWD/build}
cache=$GPON_BUILD_DIR/record-captures
out=${RECORD_OUT:-captures}

# shellcheck source=scripts/packages.sh
. scripts/packages.sh
need record

"$here/fetch.sh" packages.txt "$cache"
"$here/initramfs.sh" "$cache"
"$here/boot.sh" "$cache"
"$here/split.sh" "$cache/taps" "$cache/captures"
"$here/count.sh" "$cache/captures"
mkdir -p "$out"
cp "$cache"/captures/*.pcap "$out/"
echo "recorded into $out"
