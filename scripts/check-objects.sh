#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: check-objects.sh host OBJECT...          the core as built for a process
#        check-objects.sh module OBJECT HOST...   the core linked as for a kernel, and the former
#
# A process loads the module many times and resets its data by copying one section, so mutable data
# outside of this section would survive an unload. A kernel does not run static constructors, and
# provides only the symbols of the platform interface. NM, OBJDUMP and HOST_OBJDUMP name the tools.
set -eu
# shellcheck source=scripts/complain.sh
. "$(dirname "$0")/complain.sh"
# shellcheck source=scripts/sections.sh
. "$(dirname "$0")/sections.sh"
nm=${NM:-nm}
objdump=${OBJDUMP:-objdump}
host_objdump=${HOST_OBJDUMP:-objdump}

# Symbols that the core may leave undefined: the platform interface, the platform's packet path,
# functions that a compiler calls.
allowed_undefined='^(gpon_os_[A-Za-z0-9_]+|vorn_(un)?register_hook|gpon_flow_mapping_hook_ops'
allowed_undefined+='|gpon_mapping_hook|gpon_queue_mapping_hook|mem(cpy|set|cmp|move))$'

# OBJDUMP SECTION-PATTERN OBJECT...: named objects in these sections, as SECTION NAME.
symbols_in() {
    # A line is ADDRESS FLAGS SECTION, a tab, SIZE, perhaps a visibility, NAME.
    "$1" -t "${@:3}" | awk -F '\t' -v pattern="$2" '
        NF == 2 && $1 ~ / O / {
            sub(/.* /, "", $1)
            sub(/.* /, "", $2)
            if ($1 ~ pattern) print $1, $2
        }' | sort -u
}

mutable='^([.]data|[.]bss|[.]tdata|[.]tbss|COMMON)'
# Only the dynamic linker writes constant tables that contain addresses.
relocated='^[.]data[.]rel[.]ro'

check_host() {
    local found
    check_constructors "$@"
    found=$(filled_sections "$mutable" "$@" | grep -Ev "$relocated" || true)
    if [ -n "$found" ]; then
        complain_of "mutable data without GPON_MODULE_DATA, which an unload would not put back" \
            < <(echo "$found" && symbols_in "$objdump" "$mutable" "$@" | grep -Ev "$relocated")
    fi
}

check_undefined() {
    local found
    found=$("$nm" -u "$1" | awk '{ print $NF }' | grep -Ev "$allowed_undefined" || true)
    complain_of_any "undefined symbols outside of the seam" "$found"
}

# The name of a static object in a function ends with a number, which differs between compilers.
data_names() {
    awk '{ sub(/[.][0-9]+$/, "", $2); print $2 }' | sort -u
}

check_thread_local() {
    local found
    found=$(filled_sections '^[.]t(data|bss)' "$1")
    complain_of_any "thread-local data, which a kernel does not have" "$found"
}

check_module() {
    local object=$1 here there
    shift
    check_constructors "$object"
    check_thread_local "$object"
    check_undefined "$object"
    here=$(symbols_in "$objdump" "$mutable" "$object" | grep -Ev "$relocated" | data_names || true)
    there=$(symbols_in "$host_objdump" '^gpon_data$' "$@" | data_names)
    if [ "$here" != "$there" ]; then
        complain_of "mutable data (>) is not what the process build gathers in gpon_data (<)" \
            < <(diff <(echo "$there") <(echo "$here"))
    fi
}

mode=${1:-}
shift || true
if [ $# = 0 ]; then
    echo "check-objects: no object given" >&2
    exit 2
fi
case $mode in
host) check_host "$@" ;;
module) check_module "$@" ;;
*)
    echo "check-objects: host or module, not '$mode'" >&2
    exit 2
    ;;
esac
exit "$failed"
