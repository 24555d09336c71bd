# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# A 32-bit OMCI stack gets the same results as a 64-bit one.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

# Kernels can be built without that entry; on x86_64 using it is a fault of the program then.
has_32_bit_entry() {
    if [ "$(uname -m)" = x86_64 ]; then
        grep -qE ' (asm_int80_emulation|entry_INT80_compat)$' /proc/kallsyms
    else
        kernel_has COMPAT
    fi
}

if ! has_32_bit_entry; then
    left_out "this kernel has no entry for 32-bit programs"
    exit 0
fi
load_both
compat_calls || fail "a wrong result at the 32-bit entry"
echo "show raw_data 45 2a" >/proc/gpon_flow/debug
dmesg | grep -q '002a' || fail "the record of a 32-bit program made no instance"
unload_both
