# SPDX-License-Identifier: GPL-2.0-only
# [--write] [NAME...] apply each wrong edit of tests/mutations; a test must fail for each
#
# --write puts the names of the failing tests into docs/results/mutations.md; it runs all edits.
set -eu
. scripts/build.sh
. scripts/results.sh

# A program is linked from the objects of a build that stands, and the edited source in front of
# the archive that has the right one: an edit costs one compilation and one link.

edits=tests/mutations/edits.txt
here=$(readlink -m "$GPON_BUILD_DIR")/mutate
output=$here/output
# Another build of the same tests serves as well.
preset=${GPON_MUTATE_PRESET:-release}

# replace_once FILE FROM TO: the text of the file with the wrong edit.
replace_once() {
    local text rest
    text=$(cat "$1" && echo .)
    text=${text%.}
    rest=${text#*"$2"}
    if [ "$rest" = "$text" ] || [ "${rest#*"$2"}" != "$rest" ]; then
        echo "the text does not stand once in $1: $2" >&2
        return 1
    fi
    printf '%s' "${text%%"$2"*}$3$rest"
}

# command_of PRESET OUTPUT: the line with which ninja makes it.
command_of() {
    ninja -C "$(preset_dir "$1")" -t commands "$2" | tail -n 1
}

# compile PRESET FILE EDITED: includes are found as from the file's own folder.
compile() {
    local line object=CMakeFiles/gpon_core.dir/$2.o
    line=$(command_of "$1" "$object")
    line=${line//"-o $object"/"-o $here/edited.o -iquote $PWD/${2%/*}"}
    line=${line//"-MF $object.d"/"-MF $here/edited.d"}
    line=${line//"-c $PWD/$2"/"-c $3"}
    (cd "$(preset_dir "$1")" && eval "$line")
}

# link PRESET PROGRAM: the edited object goes in front of everything else that is linked.
link() {
    local line
    line=$(command_of "$1" "$2")
    line=${line//" -o $2 "/" -o $here/program $here/edited.o "}
    # What finds the cases of a program after its link is not wanted.
    line=${line%%" && cd "*}
    (cd "$(preset_dir "$1")" && eval "${line#": && "}")
}

# program PRESET TARGET: where the build has it.
program() {
    ninja -C "$(preset_dir "$1")" -t targets all | sed -nE "s/^((.*\/)?$2): CXX_EXECUTABLE.*/\1/p"
}

# The tests that take seconds come last: few edits live that long.
slow='*systematic_faults*:*andom*:*million*'

run_edited() {
    local run=(timeout 600 setarch "$(uname -m)" --addr-no-randomize "$here/program"
        --gtest_fail_fast)
    "${run[@]}" --gtest_filter="-$slow" && "${run[@]}" --gtest_filter="$slow"
}

# The test that failed first, or the one that was running when the program ended.
culprit() {
    local name
    name=$(sed -nE 's/^\[  FAILED  \] ([^ ,]+).*/\1/p' "$output" | head -n 1)
    [ -n "$name" ] || name=$(sed -nE 's/^\[ RUN      \] (.*)/\1/p' "$output" | tail -n 1)
    echo "$name"
}

# noticed_in PRESET FILE EDITED PROGRAM...: prints the test that notices; fails when none does.
noticed_in() {
    local preset=$1 file=$2 edited=$3 name
    compile "$preset" "$file" "$edited" >"$output" 2>&1 || { echo "the compiler" && return; }
    for name in "${@:4}"; do
        link "$preset" "$(program "$preset" "$name")" >"$output" 2>&1 || return 2
        run_edited >"$output" 2>&1 </dev/null || { culprit && return; }
    done
    return 1
}

noticed_by_unit() {
    noticed_in "$preset" "$1" "$2" unit_tests property_tests
}

noticed_by_threads() {
    local who
    who=$(noticed_in tsan "$1" "$2" thread_tests) && echo "$who under ThreadSanitizer"
}

# Clang's analysis of the lock contracts.
noticed_by_analysis() {
    clang++ -std=c++20 -fsyntax-only -DGPON_HOST_BUILD -Wthread-safety -Werror=thread-safety \
        -iquote "${1%/*}" -I src "$2" >"$output" 2>&1 || { echo "the analysis of lock contracts" && return; }
    return 1
}

# row NAME WHO: a row of the table, with the name of a test as code.
row() {
    # shellcheck disable=SC2016 # the marks of code in a document
    sed -E 's/\| (\S+\.\S+)/| `\1`/' <<<"| $1 | $2 |"
}

# try NAME FILE FROM TO CHECK: 0 when the edit was noticed.
try() {
    local edited=$here/${2##*/} who status=0
    replace_once "$2" "$3" "$4" >"$edited" || return 1
    who=$("noticed_by_$5" "$2" "$edited") || status=$?
    case $status in
    0)
        printf '%-42s caught by %s\n' "$1" "$who"
        rows+=("$(row "$1" "$who")")
        ;;
    1) printf '%-42s SURVIVED in %s\n' "$1" "$2" ;;
    *) tail -n 40 "$output" >&2 ;;
    esac
    return "$status"
}

# wanted NAME
wanted() {
    local name
    [ ${#asked[@]} != 0 ] || return 0
    for name in "${asked[@]}"; do
        [ "$name" != "$1" ] || return 0
    done
    return 1
}

# Fills the arrays with the edits that are wanted.
read_edits() {
    local line name='' file='' from='' to='' by=unit
    while IFS= read -r line || [ -n "$line" ]; do
        case $line in
        'name: '*) name=${line#name: } ;;
        'file: '*) file=${line#file: } ;;
        'from: '*) printf -v from '%b' "${line#from: }" ;;
        'to:   '*) printf -v to '%b' "${line#to:   }" ;;
        'by:   '*) by=${line#by:   } ;;
        '')
            if [ -n "$name" ] && wanted "$name"; then
                names+=("$name") files+=("$file") froms+=("$from") tos+=("$to") checks+=("$by")
            fi
            name='' file='' from='' to='' by=unit
            ;;
        esac
    done < <(cat "$edits" && echo)
}

# The tests as they are must pass: else every edit would seem to be noticed.
prepare_unit() {
    step "$preset" build_preset "$preset" unit_tests property_tests
    for name in unit_tests property_tests; do
        step "$name" "$(preset_dir "$preset")/$(program "$preset" "$name")" --gtest_brief=1
    done
}

prepare_threads() {
    local GPON_THROUGH=(setarch "$(uname -m)" --addr-no-randomize)
    step tsan build_preset tsan thread_tests
    step thread_tests "${GPON_THROUGH[@]}" "$(preset_dir tsan)/$(program tsan thread_tests)"
}

prepare_analysis() {
    need clang
}

write=''
if [ "${1:-}" = --write ]; then
    write=1
    shift
    if [ $# != 0 ]; then
        echo "run mutate: --write is for all edits" >&2
        exit 2
    fi
fi
mkdir -p "$here"
asked=("$@") rows=() names=() files=() froms=() tos=() checks=() survivors=()
read_edits
if [ ${#names[@]} = 0 ]; then
    echo "run mutate: there is no such edit in $edits" >&2
    exit 2
fi
for check in unit threads analysis; do
    if [[ " ${checks[*]} " == *" $check "* ]]; then
        "prepare_$check"
    fi
done
for i in "${!names[@]}"; do
    try "${names[i]}" "${files[i]}" "${froms[i]}" "${tos[i]}" "${checks[i]}" ||
        survivors+=("${names[i]}")
done
if [ ${#survivors[@]} != 0 ]; then
    echo "not noticed: ${survivors[*]}" >&2
    exit 1
fi
echo "${#names[@]} edits, all noticed"
if [ -n "$write" ]; then
    {
        printf '%s\n' '| edit | noticed by |' '|---|---|' "${rows[@]}"
        # shellcheck disable=SC2016 # the marks of a command in a document
        printf '\nMeasured by `./run mutate`.\n'
    } | write_result mutations 'Wrong edits'
fi
