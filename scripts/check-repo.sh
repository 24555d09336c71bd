#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: check-repo.sh [ROOT]
#
# Rules for the contents of every file under version control.
set -eu
# shellcheck source=scripts/complain.sh
. "$(dirname "$0")/complain.sh"
cd "${1:-$(dirname "$0")/..}"

# An unpacked archive has no list of tracked files: every file that is not built is checked there.
list_files() {
    git ls-files -z 2>/dev/null ||
        find . \( -name .git -o -path './build*' \) -prune -o -type f -printf '%P\0'
}

mapfile -d '' -t files < <(list_files)
texts=()
for file in "${files[@]}"; do
    # grep -I treats a file with a zero byte as binary.
    if [ -s "$file" ] && grep -qI . "$file"; then
        texts+=("$file")
    fi
done
if [ "${#texts[@]}" = 0 ]; then
    echo "no file in $PWD" | complain_of "nothing to check"
    exit 1
fi

found=$(grep -nE '(^|[^[:alnum:]_./}-])/(work|root|home/[a-z]+|tmp/build)[/-]' "${texts[@]}" || true)
if [ -n "$found" ]; then
    complain_of "a path of one machine" <<<"$found"
fi

found=$(for file in "${texts[@]}"; do
    case $file in
    *.cpp | *.h | *.c | *.sh | *.py | *.cmake | *CMakeLists.txt | *Makefile | *Kbuild | *.mk | \
        *.md | *.gnuplot | *.config | run | .ci/* | scripts/hooks/*)
        # REUSE-IgnoreStart
        head -n 3 "$file" | grep -q 'SPDX-License-Identifier: GPL-2.0-only' || echo "$file"
        # REUSE-IgnoreEnd
        ;;
    esac
done)
if [ -n "$found" ]; then
    complain_of "a source without its licence in the first three lines" <<<"$found"
fi

# A transcript contains the module's output byte for byte.
sources=()
for file in "${texts[@]}"; do
    case $file in
    *.transcript | LICENSE | LICENSES/*) ;;
    *) sources+=("$file") ;;
    esac
done
found=$(grep -nE '[[:blank:]]+$' "${sources[@]}" | cut -c 1-120 || true)
if [ -n "$found" ]; then
    complain_of "blanks at the end of a line" <<<"$found"
fi
found=$(for file in "${sources[@]}"; do
    [ -z "$(tail -c 1 "$file")" ] || echo "$file"
done)
if [ -n "$found" ]; then
    complain_of "no line feed at the end of the file" <<<"$found"
fi

exit "$failed"
