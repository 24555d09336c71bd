# SPDX-License-Identifier: GPL-2.0-only
# [--write] measure line and branch coverage of the core; pages in build/coverage/html
#
# --write puts the totals into docs/results/coverage.md.
set -eu
. scripts/build.sh
. scripts/results.sh

write=''
case $# in
0) ;;
*)
    if [ "$*" != --write ]; then
        echo "run coverage: '$*' is not --write" >&2
        exit 2
    fi
    write=1
    ;;
esac

need_for coverage
dir=$(preset_dir coverage)
programs=(unit_tests property_tests thread_tests)

# The counters of an earlier run would accumulate.
fresh_counters() {
    local name
    find "$dir" -name '*.gcda' -delete
    for name in "${programs[@]}"; do
        timeout 600 "$dir/bin/$name" --gtest_brief=1 || return 1
    done
}

report() {
    mkdir -p "$dir/html"
    gcovr --root . --object-directory "$dir" -j "$GPON_JOBS" \
        --filter 'src/(?!platform/)' \
        --exclude-unreachable-branches --exclude-throw-branches --print-summary \
        --txt "$dir/coverage.txt" --html-details "$dir/html/index.html" \
        --sonarqube "$dir/coverage.xml" "$dir"
}

# "FILE: TEXT" for each line that no test reached.
unreached() {
    sed -nE 's/.*<file path="([^"]*)".*/F \1/p; s/.*lineNumber="([0-9]+)" covered="false".*/L \1/p' \
        <(sed 's/></>\n</g' "$dir/coverage.xml") |
        while read -r kind value; do
            case $kind in
            F) file=$value ;;
            L) printf '%s: %s\n' "$file" "$(sed -n "${value}s/^ *//p" "$file")" ;;
            esac
        done | sort
}

step coverage build_preset coverage "${programs[@]}"
step tests fresh_counters
step report report
sed -n '/^File/,$p' "$dir/coverage.txt"
totals=$(grep -E '^(lines|branches):' "$GPON_BUILD_DIR/logs/report.log")
echo "$totals"

# The unreached lines are exactly the known ones.
known=$(grep -v -e '^#' -e '^$' tests/unreached.txt | sort)
found=$(unreached)
if [ "$known" != "$found" ]; then
    echo "tests/unreached.txt (-) and what no test reached (+) differ:"
    diff --unchanged-line-format= --old-line-format='- %L' --new-line-format='+ %L' \
        <(echo "$known") <(echo "$found")
    exit 1
fi
echo "not reached, for the reasons in tests/unreached.txt: $(grep -c . <<<"$found") lines"
if [ -n "$write" ]; then
    # shellcheck disable=SC2016 # the marks of a command in a document
    printf '    %s\n\nMeasured by `./run coverage`.\n' "${totals//$'\n'/$'\n    '}" |
        write_result coverage Coverage
fi
