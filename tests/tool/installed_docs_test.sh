#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: installed_docs_test.sh GPONFLOW
#
# The documents work where the package installs them: the links lead to installed files, and the
# commands run in a copy of the installed examples. The lists are those of the package.
set -eu
# shellcheck source=tests/tool/proof.sh
. "$(dirname "$0")/proof.sh"
package=$root/packaging/debian

mkdir -p doc/examples
while read -r pattern; do
    # shellcheck disable=SC2086 # a pattern
    cp -r "$root"/$pattern doc
done < <(grep -v "^#" "$package/gponflow.docs")
while read -r name; do
    cp -r "$root/$name" doc/examples
done < <(grep -v "^#" "$package/gponflow.examples")
while read -r pattern place; do
    place=${place#usr/share/doc/gponflow/}
    mkdir -p "doc/$place"
    # shellcheck disable=SC2086 # a pattern
    cp -r "$root"/$pattern "doc/$place"
done < <(grep ' usr/share/doc/gponflow/' "$package/gponflow.install")

documents=0
for page in doc/*.md; do
    while read -r link; do
        documents=$((documents + 1))
        [ -e "doc/$link" ] || complain "$page: the link to $link leads nowhere"
    done < <(grep -oP '\]\(\K[^)#:]+(?=[)#])' "$page")
done
[ "$documents" -gt 50 ] || complain "only $documents links were found"

cd doc/examples
pages=(../cookbook.md ../json.md ../tools.md ../concepts.md)
# The sanitizers' runs do not install these programs.
if command -v parallel >/dev/null && command -v sqlite3 >/dev/null && command -v jq >/dev/null; then
    pages+=(../fleet.md)
fi
python3 "$root/scripts/replay-docs.py" "$tool" "${pages[@]}" ||
    complain 'a document does not work in the installed examples'
exit "$failed"
