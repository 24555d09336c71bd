#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: check-symbols.sh ROOT OBJECT...
#
# The core is layered, and an object refers to symbols of its own layer and of lower ones only. A
# declaration that a header marks with GPON_DEFINED_IN(ROOM) counts as a part of that header, if
# the room does define it; one header alone may have such marks. An object is named after its
# source: .../src/ROOM/FILE.cpp.o. nm comes from NM.
set -eu
# shellcheck source=scripts/complain.sh
. "$(dirname "$0")/complain.sh"
# shellcheck source=scripts/layers.sh
. "$(dirname "$(readlink -f "$0")")/layers.sh"
nm=${NM:-nm}

if [ $# -lt 2 ]; then
    echo "check-symbols: no object given" >&2
    exit 2
fi
root=$1
shift

# OBJECT...: one line "file OBJECT SOURCE RANK" each.
list_objects() {
    local object source
    for object in "$@"; do
        source=src/${object##*/src/}
        source=${source%.o}
        rank_of "$source"
        echo "file $object $source ${rank:--1}"
    done
}

# One line "mark SYMBOL ROOM HEADER RANK" for each marked declaration. The mark's own definition
# does not end in a semicolon.
list_marks() {
    local header statement name
    while IFS=: read -r header statement; do
        name=$(sed -E 's/\[[^]]*\]//g; s/[^A-Za-z0-9_]*;.*//; s/.*[^A-Za-z0-9_]//' <<<"$statement")
        rank_of "$header"
        echo "mark $name $(sed -E 's/.*GPON_DEFINED_IN\(([^)]*)\).*/\1/' <<<"$statement")" \
            "$header ${rank:--1}"
    done < <(grep -rE --include='*.h' '^[[:blank:]]*GPON_DEFINED_IN\(.*;' src || true)
}

compare() {
    awk '
        $1 == "file" { source[$2] = $3; rank[$3] = $4; next }
        $1 == "mark" { room[$2] = $3; header[$2] = $4; header_rank[$2] = $5; next }
        {
            object = substr($1, 1, length($1) - 1)
            if ($3 == "U") wanted[source[object] " " $2] = 1
            else if ($3 ~ /^[TDBRGS]$/) definer[$2] = source[object]
        }
        END {
            for (file in rank)
                if (rank[file] < 0) print file " is in no layer"
            for (symbol in room) {
                marked_by[header[symbol]] = 1
                if (index(definer[symbol], "src/" room[symbol] "/") != 1)
                    print header[symbol] " marks " symbol ", which " room[symbol] "/ does not define"
            }
            for (one in marked_by) marking = marking " " one
            if (split(marking, unused, " ") > 1) print "more than one header has marks:" marking
            for (reference in wanted) {
                split(reference, part, " ")
                symbol = part[2]
                if (!(symbol in definer)) continue
                needed = symbol in room ? header_rank[symbol] : rank[definer[symbol]]
                if (needed > rank[part[1]])
                    print part[1] " refers to " symbol " of " definer[symbol] ", a layer above its own"
            }
        }'
}

cd "$root"
symbols=$("$nm" -A -P "$@")
while IFS= read -r text; do
    complain "$text"
done < <({ list_objects "$@" && list_marks && echo "$symbols"; } | compare | sort)
exit "$failed"
