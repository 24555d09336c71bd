# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Leaks that the kernel reports of its own start are not of our modules.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/detectors.sh
. /tests/detectors.sh

scan_for_leaks >/tmp/leaks
echo "@@ $(grep -c '^unreferenced' /tmp/leaks) leaks of the kernel's start"
echo clear >/sys/kernel/debug/kmemleak
dmesg -c >/dev/null
