# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# A deliberate race in C++ code that is compiled like the core is reported.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/detectors.sh
. /tests/detectors.sh

detects KCSAN race 'BUG: KCSAN: data-race in gpon_detect_add'
echo "@@ ${fired:-0} detector fired"
