#!/bin/sh
# SPDX-License-Identifier: GPL-2.0-only
# Counts the frames of the captures as a Markdown table; fails if an expected kind is missing.
# usage: count.sh [FOLDER]
set -eu

here=$(cd "$(dirname "$0")" && pwd)
folder=${1:-$here/../../captures}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

echo "| file | kind of frame | frames |"
echo "|---|---|---|"
grep -v '^#' "$here/expected.txt" | {
    missing=0
    while IFS='|' read -r file kind filter; do
        file=${file% } kind=${kind# } kind=${kind% } filter=${filter# }
        tshark -n -r "$folder/$file" -Y "$filter" -T fields -e frame.number \
            > "$work/frames" 2> "$work/log" || {
            cat "$work/log" >&2
            exit 1
        }
        frames=$(wc -l < "$work/frames")
        echo "| $file | $kind | $frames |"
        [ "$frames" -gt 0 ] || missing=$((missing + 1))
    done
    if [ "$missing" -gt 0 ]; then
        echo "count.sh: $missing of the expected kinds of frame are missing" >&2
        exit 1
    fi
}
