# SPDX-License-Identifier: GPL-2.0-only
# [FILE.scn...] write the transcripts of these, or all, scenarios anew
set -eu
. scripts/build.sh

need_for release
step build build_preset release

if [ $# = 0 ]; then
    mapfile -t scenarios < <(find scenarios tests/scenarios -name '*.scn' | sort)
    set -- "${scenarios[@]}"
fi
bash scripts/scenario.sh record "$GPON_BUILD_DIR/bin/gponflow" "$@"
