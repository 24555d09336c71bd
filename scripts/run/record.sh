# SPDX-License-Identifier: GPL-2.0-only
# [FILE.scn|FILE.md...] write the transcripts and outputs of these, or all, scenarios and documents
set -eu
. scripts/build.sh

need_for release
need graph fleet
step build build_preset release gponflow

if [ $# = 0 ]; then
    mapfile -t files < <(find scenarios tests/scenarios -name '*.scn' | sort)
    set -- "${files[@]}" README.md docs/*.md docs/results/*.md
fi
scenarios=()
documents=()
for file in "$@"; do
    case $file in
    *.md) documents+=("$file") ;;
    *) scenarios+=("$file") ;;
    esac
done
if [ "${#scenarios[@]}" != 0 ]; then
    bash scripts/scenario.sh record "$GPON_BUILD_DIR/bin/gponflow" "${scenarios[@]}"
fi
if [ "${#documents[@]}" != 0 ]; then
    python3 scripts/replay-docs.py --write "$GPON_BUILD_DIR/bin/gponflow" "${documents[@]}"
fi
