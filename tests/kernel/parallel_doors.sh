# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Commands, operators and packets at the same time on two processors, and then an unload.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

load_both
parallel_doors 20 || fail "a call got an answer that its door does not have"
unload_both
