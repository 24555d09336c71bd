# SPDX-License-Identifier: GPL-2.0-only
#
# accessibility_test.sh GPONFLOW GENERATE_LINE: reports, examined by an accessibility checker in a
# real browser.
set -eu
GPON_AXE=$(scripts/npm-file.sh axe) || {
    echo "skipped: the accessibility of the report is not checked"
    exit 77
}
export GPON_AXE
. tests/report/browser_pages.sh
cd tests/report
PYTHONDONTWRITEBYTECODE=1 "$python" -m unittest accessibility_test.py
