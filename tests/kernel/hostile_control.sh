# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Calls of the device that no OMCI stack makes: each returns the one right error.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

# TEXT: how often a line of the kernel log ends with it.
said() {
    dmesg | tr -d '\r' | grep -c "$1\$"
}

load_both
hostile_control || fail "a hostile call had a wrong result"
# Result of words that could not be read: the words before them were a command.
expect "filter by the word that stood before a bad one" 12 "$(said 'set trace outer vlan 0')"
expect "filter by a word behind a bad one" 0 "$(said 'set trace outer vlan 1234')"
expect "level by cut words" 0 "$(said 'set gpon flow debug level 0x4')"
expect "level without a word" 30 "$(said 'set gpon flow debug level 0x0')"
expect "level by a whole word" 1 "$(said 'set gpon flow debug level 0x5')"
echo "show en_flag" >/proc/gpon_flow/debug || fail "the module no longer handles commands"
unload_both
