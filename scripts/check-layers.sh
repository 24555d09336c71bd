#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: check-layers.sh [ROOT]
#
# The core is layered, and a file includes its own layer and lower ones only. From the standard
# library it takes nothing but headers that need no library behind them.
set -eu
cd "${1:-$(dirname "$0")/..}"

rank_of() { # FILE: sets rank, empty for a file outside of the core's layers
    case $1 in
    include/* | platform/kernel_api.h) rank=0 ;;
    hash/*) rank=1 ;;
    me/*) rank=2 ;;
    pkt/flow.* | pkt/walk.* | pkt/rule.*) rank=5 ;; # above the classes that a walk calls
    pkt/*) rank=3 ;; # the readers of a frame's header
    me_class/*) rank=4 ;;
    debug/*) rank=6 ;;
    core/*) rank=7 ;;
    *) rank= ;;
    esac
}

failed=0
complain() {
    echo "check-layers: $1" >&2
    failed=1
}

check_system_header() { # FILE HEADER
    case $2 in
    cstdint | cstddef | bit | span | array | type_traits | concepts | new) ;;
    utility | limits | compare | initializer_list) ;;
    stdint.h | stddef.h | stdarg.h) ;;
    linux/types.h) # the user-space header, when a kernel includes it
        [ "$1" = include/uapi/gpon_flow.h ] || complain "$1 includes the kernel's <$2>"
        ;;
    *) complain "$1 includes <$2>, which is not freestanding" ;;
    esac
}

check_own_header() { # FILE HEADER
    local file=$1 header=$2 own path
    if [ -f "${file%/*}/$header" ]; then
        path=$(realpath -m --relative-to=. "${file%/*}/$header")
    elif [ -f "$header" ]; then
        path=$header
    else
        complain "$file includes \"$header\", which is not there"
        return
    fi
    # The class table names the records of every class: the one look upwards that there is.
    case $file:$path in me/*:me_class/classes.h) return ;; esac
    rank_of "$file"
    own=$rank
    rank_of "$path"
    if [ -z "$rank" ]; then
        complain "$file includes $path, which is no part of the core"
    elif [ "$rank" -gt "$own" ]; then
        complain "$file includes $path of a layer above its own"
    fi
}

files=0
while IFS= read -r file; do
    files=$((files + 1))
    while read -r kind header; do
        case $kind in
        '<') check_system_header "$file" "$header" ;;
        '"') check_own_header "$file" "$header" ;;
        esac
    done < <(sed -nE 's/^[[:blank:]]*#[[:blank:]]*include[[:blank:]]*([<"])([^>"]+)[>"].*/\1 \2/p' \
        "$file")
done < <(find include platform/kernel_api.h hash me pkt me_class debug core -type f \
    \( -name '*.h' -o -name '*.cpp' \) 2>/dev/null | sort)

if [ "$files" = 0 ]; then
    complain "no source of the core found in $PWD"
fi
exit "$failed"
