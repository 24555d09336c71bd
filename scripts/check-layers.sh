#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: check-layers.sh [ROOT]
#
# The core is layered: a file includes only its own layer and lower ones. Of the standard library it
# includes only headers that need no library at run time. The glue of the kernel includes the
# declarations of platform/api and its own headers, nothing of the core or of a platform.
set -eu
# shellcheck source=scripts/complain.sh
. "$(dirname "$0")/complain.sh"
# shellcheck source=scripts/layers.sh
. "$(dirname "$(readlink -f "$0")")/layers.sh"
cd "${1:-$(dirname "$0")/..}"

check_system_header() { # FILE HEADER
    case $2 in
    cstdint | cstddef | bit | span | array | type_traits | concepts | new) ;;
    utility | limits | compare | initializer_list) ;;
    stdint.h | stddef.h | stdarg.h) ;;
    linux/types.h) # the user-space header, when a kernel includes it
        [ "$1" = src/include/uapi/gpon_flow.h ] || complain "$1 includes the kernel's <$2>"
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
    rank_of "$file"
    own=$rank
    rank_of "$path"
    if [ -z "$rank" ]; then
        complain "$file includes $path, which is no part of the core"
    elif [ "$rank" -gt "$own" ]; then
        complain "$file includes $path of a layer above its own"
    fi
}

# FILE: lines "< HEADER" and "\" HEADER".
list_includes() {
    sed -nE 's/^[[:blank:]]*#[[:blank:]]*include[[:blank:]]*([<"])([^>"]+)[>"].*/\1 \2/p' "$1"
}

check_glue_header() { # FILE HEADER
    local path
    path=$(realpath -m --relative-to=. "${1%/*}/$2")
    case $path in
    src/platform/linux/* | src/platform/api/*) ;;
    *) complain "$1 includes $path, which is outside of the platform" ;;
    esac
}

files=0
while IFS= read -r file; do
    files=$((files + 1))
    while read -r kind header; do
        case $kind in
        '<') check_system_header "$file" "$header" ;;
        '"') check_own_header "$file" "$header" ;;
        esac
    done < <(list_includes "$file")
done < <(find src -type f \( -name '*.h' -o -name '*.cpp' \) ! -path 'src/platform/linux/*' \
    ! -path 'src/platform/host/*' 2>/dev/null | sort)

for file in src/platform/linux/*.[ch]; do
    while read -r kind header; do
        [ "$kind" = '<' ] || check_glue_header "$file" "$header"
    done < <([ ! -f "$file" ] || list_includes "$file")
done

if [ "$files" = 0 ]; then
    complain "no source of the core found in $PWD"
fi
exit "$failed"
