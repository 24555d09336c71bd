# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash
#
# The pages for the tests in a browser, below GPON_PAGES. Sourced with the programs gponflow and
# generate_line as arguments. Ends the test with status 77 (skipped) without a browser.
set -eu
# The packages of the distribution belong to its own python, whichever comes first otherwise.
python=/usr/bin/python3
for command in chromium chromedriver pdftotext "$python"; do
    if ! command -v "$command" >/dev/null; then
        echo "skipped: there is no $command here (./run test installs it)"
        exit 77
    fi
done
if ! "$python" -c 'import selenium' 2>/dev/null; then
    echo "skipped: there is no python3-selenium here (./run test installs it)"
    exit 77
fi

# Kept for later inspection if named; deleted otherwise.
GPON_PAGES=${GPON_SCREENSHOTS:-}
if [ -z "$GPON_PAGES" ]; then
    GPON_PAGES=$(mktemp -d)
    trap 'rm -rf "$GPON_PAGES"' EXIT
fi
mkdir -p "$GPON_PAGES"
GPON_PAGES=$(realpath "$GPON_PAGES")
export GPON_PAGES

# The demo, with the untagged frames lost: their service's filter lets tags alone through.
cp -r scenarios captures "$GPON_PAGES"
sed -i 's/forwardOperation=0x03/forwardOperation=0x04/' "$GPON_PAGES/scenarios/demo.scn"
"$1" report "$GPON_PAGES/scenarios/demo.scn" -o "$GPON_PAGES/report.html"
"$1" report tests/report/entities.scn -o "$GPON_PAGES/entities.html"
"$2" "$GPON_PAGES/large" 25 19 1000
"$1" report "$GPON_PAGES/large/line.scn" -o "$GPON_PAGES/large.html"
