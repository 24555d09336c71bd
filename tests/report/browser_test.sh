# SPDX-License-Identifier: GPL-2.0-only
#
# browser_test.sh GPONFLOW: the report of the demo, used in a real browser, on screen and on paper.
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
folder=${GPON_SCREENSHOTS:-}
if [ -z "$folder" ]; then
    folder=$(mktemp -d)
    trap 'rm -rf "$folder"' EXIT
fi
mkdir -p "$folder"
# The demo, with the untagged frames lost: their service's filter lets tags alone through.
cp -r scenarios captures "$folder"
sed -i 's/forwardOperation=0x03/forwardOperation=0x04/' "$folder/scenarios/demo.scn"
"$1" report "$folder/scenarios/demo.scn" -o "$folder/report.html"
GPON_AXE=${GPON_AXE:-$(scripts/axe.sh || true)} "$python" tests/report/browser_test.py "$folder"
