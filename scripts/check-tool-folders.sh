#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: check-tool-folders.sh [ROOT]
#
# The folders of the tool are layered in the order of tool/layers.txt: a file includes only headers of
# its own folder and of lower ones.
set -eu
# shellcheck source=scripts/complain.sh
. "$(dirname "$0")/complain.sh"
cd "${1:-$(dirname "$0")/..}"

declare -A rank
ranks=0
while read -r folder; do
    ranks=$((ranks + 1))
    rank[$folder]=$ranks
done < <(sed '/^#/d' tool/layers.txt)

files=0
for file in tool/*/*.h tool/*/*.cpp; do
    [ -f "$file" ] || continue
    files=$((files + 1))
    own=${file#tool/}
    own=${own%%/*}
    if [ -z "${rank[$own]:-}" ]; then
        complain "$file is in a folder that tool/layers.txt does not list"
        continue
    fi
    while read -r header; do
        folder=${header%%/*}
        if [ "${rank[$folder]:-0}" -gt "${rank[$own]}" ]; then
            complain "$file includes tool/$header of a folder above its own"
        fi
    done < <(sed -nE 's|^#include "tool/([a-z_]+/[^"]+)".*|\1|p' "$file")
done
if [ "$files" = 0 ]; then
    complain "no source of the tool found in $PWD"
fi
exit "$failed"
