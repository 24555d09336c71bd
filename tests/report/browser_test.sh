# SPDX-License-Identifier: GPL-2.0-only
#
# browser_test.sh GPONFLOW GENERATE_LINE: reports, used in a real browser, on screen and on paper.
. tests/report/browser_pages.sh
cd tests/report
PYTHONDONTWRITEBYTECODE=1 "$python" -m unittest browser_test.py legend_test.py large_page_test.py
