# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# A deliberate use of a freed block that has a page of its own is reported.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/detectors.sh
. /tests/detectors.sh

fires use_guarded_after_free 'BUG: KFENCE: use-after-free write in .*gpon_detect'
echo "@@ $fired detector fired"
