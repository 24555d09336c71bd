# SPDX-License-Identifier: GPL-2.0-only
# build, provision a subscriber line, send recorded traffic and print where the frames went
set -eu
. scripts/build.sh

compile_together
need build
step build build_preset tool gponflow
echo
echo "Line: scenarios/demo.scn. Traffic: captures/, recorded from real clients."
echo
"$(preset_dir tool)/bin/gponflow" account scenarios/demo.scn
