# SPDX-License-Identifier: GPL-2.0-only
# build everything for this machine; the tool is build/bin/gponflow
set -eu
. scripts/build.sh

need_for release
step build build_preset release
