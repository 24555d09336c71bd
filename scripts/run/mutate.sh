# SPDX-License-Identifier: GPL-2.0-only
# [--write] [--quick] [--edits FILE] [NAME...] apply each wrong edit of tests/mutations; a test must fail for each
#
# --write puts the names of the failing tests into docs/results/mutations.md, in which the rows of the
# other edits of tests/mutations stay. --edits takes the edits from FILE, for example the output of
# scripts/wrong-edits.py. --quick leaves out the tests that take seconds; a full run may detect an edit
# that no other test detects.
set -eu
. scripts/build.sh
. scripts/results.sh
. scripts/ninja.sh
. scripts/kernel/common.sh

# A program is linked from the objects of an existing build. The edited object comes before the
# archive that contains the original: an edit costs one compilation and one link.

by_hand=tests/mutations/edits.txt
listed=("$by_hand" tests/mutations/generated.txt)
edits=("${listed[@]}")
here=$(readlink -m "${GPON_MUTATE_DIR:-$GPON_BUILD_DIR/mutate}")
output=$here/output
. scripts/mutate-guest.sh
# Another build of the same tests serves as well.
preset=${GPON_MUTATE_PRESET:-release}

# replace_once FILE FROM TO: the text of the file with the wrong edit.
replace_once() {
    local text rest
    text=$(cat "$1" && echo .)
    text=${text%.}
    rest=${text#*"$2"}
    if [ "$rest" = "$text" ] || [ "${rest#*"$2"}" != "$rest" ]; then
        echo "$1 does not contain this text exactly once: $2" >&2
        return 1
    fi
    printf '%s' "${text%%"$2"*}$3$rest"
}

# object_of FILE: the object of a source of the core or of the thread tests.
object_of() {
    case $1 in
    tests/*) echo "tests/CMakeFiles/thread_tests.dir/${1#tests/}.o" ;;
    *) echo "CMakeFiles/gpon_core.dir/$1.o" ;;
    esac
}

# compile PRESET FILE EDITED OBJECT: includes are found as from the file's own folder. A header comes
# before the source that includes it, whose own include has no effect then. Status 3 if the compiler
# refuses the edit, 2 if the build does not make the object from this file.
compile() {
    local folder line object=$4
    folder=$(preset_dir "$1")
    # That of the edit before.
    rm -f "$here/edited.o"
    line=$(compile_command "$folder" "$object" "$here/edited.o")
    if [[ $line != *" -c $PWD/"* ]] || [[ $2 != *.h && $line != *" -c $PWD/$2" ]]; then
        echo "the build does not make $object from $2" >"$output"
        return 2
    fi
    # The cache of the compiler would keep an object for each edit.
    line=${line#ccache }
    line=${line//"-o $here/edited.o"/"-o $here/edited.o -iquote $PWD/${2%/*}"}
    case $2 in
    *.h) line=${line//"-c $PWD/"/"-include $3 -c $PWD/"} ;;
    *) line=${line//"-c $PWD/$2"/"-c $3"} ;;
    esac
    run_command "$folder" "$line" >"$output" 2>&1 || return 3
}

# link PRESET PROGRAM OBJECT: the edited object replaces OBJECT, or goes in front of the archive that has
# it.
link() {
    local folder line
    folder=$(preset_dir "$1")
    line=$(link_command "$folder" "$2" "$here/program" "$here/edited.o")
    run_command "$folder" "${line//" $3 "/ }"
}

# program PRESET TARGET: where the build has it.
program() {
    target_of "$(preset_dir "$1")" CXX_EXECUTABLE "$2"
}

# The tests that take seconds come last: most edits are detected before them.
slow='*systematic_faults*:*andom*:*million*'

# NAME COMMAND...: a step with the program as it is. A wrong edit may loop forever: the edited program is
# stopped after ten times the seconds that the step took.
measure() {
    local start=$SECONDS
    step "$@"
    start=$((10 * (SECONDS - start + 1)))
    [ "${limits[$1]:-0}" -ge "$start" ] || limits[$1]=$start
}

# PROGRAM FILTER
run_edited() {
    timeout "${limits[$1]}" setarch "$(uname -m)" --addr-no-randomize \
        "$here/program" --gtest_fail_fast --gtest_filter="$2"
}

# PROGRAM STATUS: the test that failed first, or the one that was running when the program ended.
culprit() {
    local name
    name=$(sed -nE 's/^\[  FAILED  \] ([^ ,]+).*/\1/p' "$output" | head -n 1)
    [ -n "$name" ] || name=$(sed -nE 's/^\[ RUN      \] (.*)/\1/p' "$output" | tail -n 1)
    [ "$2" != 124 ] || name+=", stopped after ${limits[$1]} s"
    echo "$name"
}

# try_program PRESET PROGRAM OBJECT FILTER: prints the test that fails; status 1 if none fails.
try_program() {
    link "$1" "$(program "$1" "$2")" "$3" >"$output" 2>&1 || return 2
    run_edited "$2" "$4" >"$output" 2>&1 </dev/null || { culprit "$2" $? && return; }
    return 1
}

# The same for the scenarios: the first that differs is enough.
try_scenarios() {
    local file status
    link "$1" "$(program "$1" gponflow)" "$2" >"$output" 2>&1 || return 2
    while read -r file; do
        status=0
        timeout "${limits[scenarios]}" "$here/program" run --mask-lines "$file" >"$output" 2>&1 \
            </dev/null || status=$?
        if [ "$status" != 0 ] || ! cmp -s "$output" "${file%.scn}.transcript"; then
            [ "$status" != 124 ] || file+=", stopped after ${limits[scenarios]} s"
            echo "the scenario $file" && return
        fi
    done < <(printf '%s\n' "${scenarios[@]}")
    return 1
}

# first_of COMMAND... -- COMMAND...: the first that finds something, or an error.
first_of() {
    local command=() word status=0
    for word in "$@" --; do
        if [ "$word" != -- ]; then
            command+=("$word")
            continue
        fi
        status=0
        "${command[@]}" || status=$?
        [ "$status" = 1 ] || return "$status"
        command=()
    done
    return 1
}

noticed_by_unit() {
    local object status=0
    object=$(object_of "${compiled:-$1}")
    compile "$preset" "$1" "$2" "$object" || return
    first_of try_program "$preset" unit_tests "$object" "-$slow" -- \
        try_scenarios "$preset" "$object" || status=$?
    [ "$status" = 1 ] && [ -z "$quick" ] || return "$status"
    first_of try_program "$preset" property_tests "$object" '*' -- \
        try_program "$preset" unit_tests "$object" "$slow"
}

noticed_by_threads() {
    local who object
    object=$(object_of "${compiled:-$1}")
    compile tsan "$1" "$2" "$object" || return
    who=$(try_program tsan thread_tests "$object" '*') && echo "$who under ThreadSanitizer"
}

# On CPUs that see the writes of others late and in another order.
noticed_by_order() {
    local source=${compiled:-$1}
    local object=tests/order/CMakeFiles/order_module.dir/__/__/$source.o
    compile "$preset" "$1" "$2" "$object" || return
    try_program "$preset" order_tests "$object" '*'
}

noticed_by_glue() {
    local object=tests/glue/CMakeFiles/glue_memory.dir/__/__/$1.o
    compile "$preset" "$1" "$2" "$object" || return
    try_program "$preset" glue_tests "$object" '*'
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
    sed -E 's/\| ([^ ,]+\.[^ ,]+)/| `\1`/' <<<"| $1 | $2 |"
}

# NAME WHO EQUIVALENT: of an edit that somebody notices.
noticed() {
    if [ -n "$3" ]; then
        printf '%-42s IS NOT EQUIVALENT, caught by %s\n' "$1" "$2"
        return 1
    fi
    printf '%-42s caught by %s\n' "$1" "$2"
    rows+=("$(row "$1" "$2")")
}

# NAME FILE EQUIVALENT: of an edit that nobody notices.
unnoticed() {
    if [ -z "$3" ]; then
        printf '%-42s SURVIVED in %s\n' "$1" "$2"
        return 1
    fi
    printf '%-42s equivalent: %s\n' "$1" "$3"
    rows+=("$(row "$1" "none, equivalent: $3")")
}

# NAME EQUIVALENT: a text that somebody wrote is to show that a test fails, so it has to compile.
refused() {
    if [ "$origin" = "$by_hand" ]; then
        printf '%-42s DOES NOT COMPILE\n' "$1"
        tail -n 20 "$output" >&2
        return 1
    fi
    noticed "$1" "the compiler" "$2"
}

# try NAME FILE FROM TO CHECK EQUIVALENT: 0 when the edit was noticed, or is known to change nothing.
try() {
    local edited=$here/edited/${2##*/} who='' status=0
    # A source finds headers beside it first: those of another edit would take part in this one.
    rm -rf "$here/edited"
    mkdir -p "$here/edited"
    replace_once "$2" "$3" "$4" >"$edited" || return 1
    if [ "$5" = guest ] && ! choose_guest_tests "$2"; then
        printf '%-42s NOT JUDGED: its tests fail without it\n' "$1"
        tail -n 40 "$output" >&2
        return 1
    fi
    who=$("noticed_by_$5" "$2" "$edited") || status=$?
    case $status in
    0) noticed "$1" "$who" "$6" ;;
    1) unnoticed "$1" "$2" "$6" ;;
    3) refused "$1" "$6" ;;
    *)
        printf '%-42s NOT JUDGED%s\n' "$1" "${who:+: $who}"
        tail -n 40 "$output" >&2
        return 1
        ;;
    esac
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
    local line name='' file='' source='' from='' to='' by=unit equivalent='' tests='' origin=''
    while IFS= read -r line || [ -n "$line" ]; do
        case $line in
        'origin: '*) origin=${line#origin: } ;;
        'name: '*) name=${line#name: } ;;
        'file: '*) file=${line#file: } ;;
        'in: '*) source=${line#in: } ;;
        'from: '*) printf -v from '%b' "${line#from: }" ;;
        'to:   '*) printf -v to '%b' "${line#to:   }" ;;
        'by:   '*) by=${line#by:   } ;;
        'tests: '*) tests=${line#tests: } ;;
        'equivalent: '*) equivalent=${line#equivalent: } ;;
        '')
            if [ -n "$name" ] && wanted "$name"; then
                names+=("$name") files+=("$file") froms+=("$from") tos+=("$to") checks+=("$by")
                equivalents+=("$equivalent") guests+=("$tests") sources+=("$source")
                origins+=("$origin")
            fi
            name='' file='' source='' from='' to='' by=unit equivalent='' tests=''
            ;;
        esac
    done < <(for file in "${edits[@]}"; do
        [ ! -f "$file" ] || { echo "origin: $file" && cat "$file" && echo; }
    done)
}

# Writes the table in the order of the edits, without those that survived.
write_rows() {
    local row name survivor
    local -A all=()
    while IFS= read -r row; do
        name=${row#| }
        all[${name%% |*}]=$row
    done < <(grep -s '^| [a-z0-9]' docs/results/mutations.md; printf '%s\n' "${rows[@]}")
    for survivor in "${survivors[@]}"; do
        unset "all[$survivor]"
    done
    {
        printf '%s\n' '| edit | noticed by |' '|---|---|'
        while IFS= read -r name; do
            [ -z "${all[$name]-}" ] || echo "${all[$name]}"
        done < <(sed -n 's/^name: //p' "${listed[@]}")
        printf '\nThe table has %d of the %d edits. The last run was of %d edits.\n' \
            "$(comm -12 <(printf '%s\n' "${!all[@]}" | sort) <(sed -n 's/^name: //p' "${listed[@]}" | sort) | wc -l)" \
            "$(cat "${listed[@]}" | grep -c '^name: ')" "${#names[@]}"
        # shellcheck disable=SC2016 # the marks of a command in a document
        printf 'Measured by `./run mutate --write`; names of edits replace their rows.\n'
    } >"$here/table"
    write_result mutations 'Wrong edits' <"$here/table"
}

# The tests as they are must pass: else every edit would seem to be noticed.
prepare_unit() {
    step "$preset" build_preset "$preset" unit_tests property_tests gponflow
    for name in unit_tests property_tests; do
        measure "$name" "$(preset_dir "$preset")/$(program "$preset" "$name")" --gtest_brief=1 \
            --gtest_filter="*${quick:+-$slow}"
    done
    mapfile -t scenarios < <(find scenarios tests/scenarios -name '*.scn')
    measure scenarios bash scripts/scenario.sh check \
        "$(preset_dir "$preset")/$(program "$preset" gponflow)" "${scenarios[@]}"
}

prepare_order() {
    step "$preset" build_preset "$preset" order_tests
    measure order_tests "$(preset_dir "$preset")/$(program "$preset" order_tests)" --gtest_brief=1
}

prepare_glue() {
    step "$preset" build_preset "$preset" glue_tests
    measure glue_tests "$(preset_dir "$preset")/$(program "$preset" glue_tests)" --gtest_brief=1
}

prepare_threads() {
    local GPON_THROUGH=(setarch "$(uname -m)" --addr-no-randomize)
    step tsan build_preset tsan thread_tests
    measure thread_tests "${GPON_THROUGH[@]}" "$(preset_dir tsan)/$(program tsan thread_tests)"
}

prepare_analysis() {
    need clang
}

write='' quick=''
while :; do
    case ${1:-} in
    --write) write=1 ;;
    --quick) quick=1 ;;
    --edits)
        edits=("${2:?a file is missing after --edits}")
        shift
        ;;
    *) break ;;
    esac
    shift
done
if [ -n "$write" ] && [ -n "$quick" ]; then
    echo "run mutate: --write is for all tests" >&2
    exit 2
fi
mkdir -p "$here"
asked=("$@") rows=() names=() files=() froms=() tos=() checks=() survivors=() equivalents=() guests=() scenarios=() sources=()
origins=()
declare -A limits=()
read_edits
if [ ${#names[@]} = 0 ]; then
    echo "run mutate: there is no such edit in ${edits[*]}" >&2
    exit 2
fi
for check in unit threads order glue analysis guest; do
    if [[ " ${checks[*]} " == *" $check "* ]]; then
        "prepare_$check"
    fi
done
for i in "${!names[@]}"; do
    guest_tests=${guests[i]} compiled=${sources[i]} origin=${origins[i]}
    try "${names[i]}" "${files[i]}" "${froms[i]}" "${tos[i]}" "${checks[i]}" "${equivalents[i]}" ||
        survivors+=("${names[i]}")
done
if [ -n "$write" ]; then
    write_rows
fi
if [ ${#survivors[@]} != 0 ]; then
    echo "not noticed: ${survivors[*]}" >&2
    exit 1
fi
echo "${#names[@]} edits, all noticed or equivalent"
