# SPDX-License-Identifier: GPL-2.0-only
# [STEP...] run static checks: format shell python spelling licences commits cppcheck analyzer tidy checkpatch sparse tidy-rest
set -eu
. scripts/build.sh
. scripts/sources.sh

all_steps=(format shell python spelling licences commits cppcheck analyzer tidy checkpatch sparse tidy-rest)
mapfile -t core_folders < <(printf '%s\n' src/*/ | grep -v '^src/platform/')

check_format() {
    local found
    found=$(cpp_sources_to_format | xargs clang-format --dry-run 2>&1 |
        sed -nE 's/^([^ :]+):[0-9]+:[0-9]+: warning: .*/\1/p' | sort | uniq -c)
    if [ -n "$found" ]; then
        printf '%s\n' "places that ./run format would change:" "$found"
        return 1
    fi
}

check_shell() {
    shell_sources | xargs shellcheck
}

check_python() {
    python_sources | xargs pyflakes3 && python_sources | xargs pycodestyle --max-line-length=100
}

# Words that codespell does not know, and spellings that the module's log has always had, are in
# scripts/codespell-words.
check_spelling() {
    texts | xargs codespell --quiet-level 2 --ignore-words scripts/codespell-words
}

# An expression that cannot be parsed is only a message to reuse, and the file then has no licence.
check_licences() {
    local report
    report=$(reuse lint 2>&1) && ! grep -q 'cannot be parsed' <<<"$report" && return
    echo "$report"
    return 1
}

check_commits() {
    bash scripts/check-commits.sh
}

check_cppcheck() {
    cppcheck --std=c++20 --language=c++ --enable=warning,performance,portability --quiet \
        --error-exitcode=1 --suppressions-list=scripts/cppcheck-exceptions -j "$GPON_JOBS" \
        -DGPON_HOST_BUILD -I. -Isrc "${core_folders[@]}" src/platform/host
}

# The compiler's analyzer works best at a low optimization level. gcc 12's analyzer takes a record
# that a function returns by value for an uninitialized one; clang-tidy's finds those that are.
check_analyzer() {
    printf '%s\n' src/*/*.cpp | xargs -n 1 -P "$GPON_JOBS" g++ -std=c++20 -fanalyzer -Werror -O1 \
        -Wno-analyzer-use-of-uninitialized-value -DGPON_HOST_BUILD -Isrc \
        -ffreestanding -fno-exceptions -fno-rtti -c -o /dev/null
}

# SOURCE: runs clang-tidy, unless it has checked the same text without a report. There are no generated
# headers, so no build is needed first.
tidy() {
    local dir=$1 source=$2 stamp
    stamp=$(tidy_stamp "$dir" "$source") || return 1
    [ ! -e "$stamp" ] || return 0
    clang-tidy -p "$dir" --quiet "$source" && touch "$stamp"
}

# The name is the checksum of all files that clang-tidy would read.
tidy_stamp() {
    local dir=$1 source=$2 command
    command=$(awk -v source="$source" '
        /"command":/ { line = $0 } /"file":/ && index($0, "\"" source "\"") { print line; exit }' \
        "$dir/compile_commands.json")
    command=$(sed -E 's/^ *"command": "//; s/",$//; s/\\"/"/g; s/ -o [^ ]+//' <<<"$command")
    printf '%s/tidy-%s' "$dir" "$({ eval "$command -E -o -" && cat .clang-tidy; } | sha256sum | cut -c1-40)"
}

# tidy_where GREP-ARGUMENT...: checks the sources whose names grep selects.
tidy_where() {
    local dir
    dir=$(preset_dir clang)
    cmake --preset clang -B "$dir" || return 1
    export -f tidy tidy_stamp
    sed -nE "s#^ *\"file\": \"($PWD/(.*[.]cpp))\",?\$#\2#p" "$dir/compile_commands.json" | sort -u |
        grep -E "$@" | xargs -I SOURCE -P "$GPON_JOBS" bash -c "tidy '$dir' '$PWD/SOURCE'"
}

# The code that runs in a kernel, and the host platform; tools and tests take much longer.
soon='^src/'

check_tidy() {
    tidy_where "$soon"
}

check_tidy-rest() {
    tidy_where -v "$soon|/CMakeFiles/"
}

# checkpatch is part of the kernel's source.
check_checkpatch() {
    bash scripts/kernel/check-style.sh
}

check_sparse() {
    bash scripts/kernel/check-sparse.sh
}

groups_of() {
    case $1 in
    format) echo format ;;
    tidy*) echo build test clang lint ;;
    sparse) echo lint kernel ;;
    *) echo build lint ;;
    esac
}

if [ $# = 0 ]; then
    set -- "${all_steps[@]}"
fi
failed=()
for name in "$@"; do
    if [[ " ${all_steps[*]} " != *" $name "* ]]; then
        echo "run lint: no step '$name'" >&2
        exit 2
    fi
    read -r -a groups <<<"$(groups_of "$name")"
    need "${groups[@]}"
    step "lint-$name" "check_$name" || failed+=("$name")
done
[ "${#failed[@]}" = 0 ]
