# SPDX-License-Identifier: GPL-2.0-only
# delete everything that was built
set -eu
. scripts/log.sh
rm -rf "$GPON_BUILD_DIR"
