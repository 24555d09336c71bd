# SPDX-License-Identifier: GPL-2.0-only
# which lines and branches of the core the tests reach; the pages are in build/coverage/html
set -eu
. scripts/build.sh

need_for coverage
dir=$(preset_dir coverage)

# Counters of an earlier run would be added to.
fresh_counters() {
    find "$dir" -name '*.gcda' -delete
    ctest --test-dir "$dir" --output-on-failure --no-tests=error --timeout 300 \
        --parallel "$GPON_JOBS"
}

report() {
    mkdir -p "$dir/html"
    gcovr --root . --object-directory "$dir" -j "$GPON_JOBS" \
        --filter '(core|me|me_class|pkt|hash|debug|include)/' \
        --exclude-unreachable-branches --exclude-throw-branches --print-summary \
        --txt "$dir/coverage.txt" --html-details "$dir/html/index.html" "$dir"
}

step coverage build_preset coverage
step coverage.ctest fresh_counters
step report report
sed -n '/^File/,$p' "$dir/coverage.txt"
grep -E '^(lines|branches):' "$GPON_BUILD_DIR/logs/report.log"
