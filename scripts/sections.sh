# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash
#
# Sections of objects. Sourced after complain.sh by checks, which set OBJDUMP.

# filled_sections PATTERN OBJECT...: names of the matching sections that are not empty, as SECTION BYTES.
filled_sections() {
    "${OBJDUMP:-objdump}" -h -w "${@:2}" | awk -v pattern="$1" '
        $1 ~ /^[0-9]+$/ && $2 ~ pattern && $3 !~ /^0+$/ { print $2, "0x" $3 }'
}

# check_constructors OBJECT...
check_constructors() {
    local found
    found=$(filled_sections '^[.](init_array|ctors|preinit_array|fini_array|dtors)' "$@")
    complain_of_any "static constructors or destructors, which a kernel does not run" "$found"
}
