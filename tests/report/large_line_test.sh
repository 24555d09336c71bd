# SPDX-License-Identifier: GPL-2.0-only
#
# large_line_test.sh GPONFLOW GENERATE_LINE: a line of 500 bridge ports with 100,000 frames of all its
# services takes each command at most five seconds of CPU time, and the page at most two megabytes.
set -eu
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
"$2" "$folder" 25 19 100000
line=$folder/line.scn
failed=0

within_limit() { # TITLE COMMAND...
    local title=$1
    shift
    if ! (ulimit -t 5 && "$@") >"$folder/out" 2>"$folder/err"; then
        echo "$title of a large line fails or takes more than 5 s of CPU time"
        cat "$folder/err"
        failed=1
    fi
}

within_limit report "$1" report "$line" -o "$folder/report.html"
[ "$(stat -c %s "$folder/report.html")" -lt 2000000 ] || {
    echo "the page has $(stat -c %s "$folder/report.html") bytes"
    failed=1
}
within_limit account "$1" account "$line"
grep -q '^upstream, from the bridge to the ANI: 60000 frames' "$folder/out" || failed=1
within_limit explain "$1" explain "$line" --uni 1 --vlan 574
grep -q '^The frame ' "$folder/out" || failed=1
exit "$failed"
