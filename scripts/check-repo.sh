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

# grep -I treats a file with a zero byte as binary.
mapfile -d '' -t texts < <(list_files | xargs -0r grep -IlsZ .)
if [ "${#texts[@]}" = 0 ]; then
    echo "no file in $PWD" | complain_of "nothing to check"
    exit 1
fi

found=$(grep -nE '(^|[^[:alnum:]_./}-])/(work|root|home/[a-z]+|tmp/build)[/-]' "${texts[@]}" || true)
if [ -n "$found" ]; then
    complain_of "a path of one machine" <<<"$found"
fi

# .reuse/dep5 lists the files that cannot hold a comment. An asterisk of a pattern also matches slashes.
mapfile -t unmarked < <(sed -n '/^Files:$/,/^Copyright:/s/^ //p' .reuse/dep5 2>/dev/null)

cannot_hold_a_comment() {
    local pattern
    for pattern in "${unmarked[@]}"; do
        # shellcheck disable=SC2053 # a pattern, not a text
        [[ $1 != $pattern ]] || return 0
    done
    return 1
}

declare -A licence_line
while IFS=: read -r file line _; do
    licence_line[$file]=$line
    # REUSE-IgnoreStart
done < <(grep -m 1 -nHF 'SPDX-License-Identifier: GPL-2.0-only' "${texts[@]}" || true)
# REUSE-IgnoreEnd
found=$(for file in "${texts[@]}"; do
    [ "${licence_line[$file]:-4}" -le 3 ] || cannot_hold_a_comment "$file" || echo "$file"
done)
if [ -n "$found" ]; then
    complain_of "a file without its licence in the first three lines" <<<"$found"
fi

# A lock that does not sleep, or a section that is not preempted, is another one with PREEMPT_RT.
mapfile -t kernel_sources < <(printf '%s\n' "${texts[@]}" | grep -E '^(src|softonu)/.*\.c$' || true)
found=$(for file in "${kernel_sources[@]}"; do
    ! grep -qE '\b(spin_lock|mutex_lock|rtnl_lock|rcu_read_lock|local_bh_disable|synchronize_rcu)(_\w+)?\(' \
        "$file" || grep -q PREEMPT_RT "$file" || echo "$file"
done)
if [ -n "$found" ]; then
    complain_of "a lock or a read section without a word about PREEMPT_RT" <<<"$found"
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
