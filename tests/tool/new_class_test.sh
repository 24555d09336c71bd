#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: new_class_test.sh BUILD-FOLDER
#
# A new class is one source and one row. This test adds both to a copy of the core's sources, links
# them in front of the objects of the build, and expects module and tool to support the class. Then it
# adds a related-info row to a class at which the new one points.
set -eu
# shellcheck source=scripts/ninja.sh
. scripts/ninja.sh

build=$(readlink -f "$1")
root=$PWD
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
failed=0

cp -r src "$scratch/src"

cat >"$scratch/src/me_class/imaginary_class.cpp" <<'SOURCE'
#include "attribute_handlers.h"
#include "classes.h"
#include "dump_columns.h"

namespace {

struct raw_imaginary {
    u16 instID;
    u16 portPointer;
    u32 level;
    u16 shades[3];
    u16 bridgePointer;
};

constexpr gpon_me_field FIELDS[] = {
    GPON_FIELD(raw_imaginary, instID, hex),
    GPON_FIELD(raw_imaginary, portPointer, hex),
    GPON_FIELD(raw_imaginary, level, decimal),
    GPON_FIELD(raw_imaginary, shades, decimal),
    GPON_FIELD(raw_imaginary, bridgePointer, hex),
};
constexpr gpon_me_pointer PORT = {.field = GPON_FIELD(raw_imaginary, portPointer, hex),
                                  .mask = 0x8000,
                                  .class_id = me_class::imaginary};
constexpr gpon_me_pointer BRIDGE = {.field = GPON_FIELD(raw_imaginary, bridgePointer, hex),
                                    .mask = 0x1000,
                                    .class_id = me_class::mbsp,
                                    .no_target = 0};
constexpr gpon_me_pointer POINTERS[] = {PORT, BRIDGE};

template <const gpon_me_pointer& POINTER> i32 report(gpon_me_cmd* cmd)
{
    const auto* me = gpon::enter_handler<raw_imaginary>(cmd);
    return me ? gpon::report_pointer(cmd, {me_class::imaginary, me->instID}, POINTER, me) : -1;
}

constexpr gpon_me_related_info RELATED[] = {
    {.related_class_id = me_class::imaginary, .name = "imaginaryInst", .related_inst_num = 2},
                                            {}};
constexpr gpon_me_attr_op ATTR_OPS[] = {{PORT.mask, report<PORT>}, {BRIDGE.mask, report<BRIDGE>}, {}};

} // namespace

GPON_MODULE_DATA constinit list_head gpon_imaginary_list = {&gpon_imaginary_list,
                                                            &gpon_imaginary_list};

constinit const gpon_me_list_info imaginaryListInfo = {
    .dump_raw = gpon::dump_fields,
    .raw_size = sizeof(raw_imaginary),
    .related_info = RELATED,
    .related_info_size = sizeof(RELATED),
    .attr_ops = ATTR_OPS,
    .head = &gpon_imaginary_list,
    .fields = FIELDS,
    .pointers = POINTERS,
};
SOURCE
row='GPON_STORED(300, imaginary, "IMAGINARY_CLASS", "imaginary class", "Imagination", CREATED_BY_OLT, imaginaryListInfo, gpon_imaginary_list)'
sed -i "/^#undef GPON_WALKED/i $row" "$scratch/src/include/me_classes.def"

# A folder of the tool that has a CMake file has a folder of objects too.
object_of() { # SOURCE
    target_of "$build" CXX_COMPILER "(${1#tool/}|${1%/*}/CMakeFiles/[^/]*/${1##*/})\.o"
}

# compile SOURCE [LIKE]: a source against the copied headers, with the command for LIKE.
objects=()
compile() {
    local like=${2:-$1} line output=$scratch/${1//\//-}.o
    line=$(compile_command "$build" "$(object_of "$like")" "$output")
    line=${line//"-c $root/$like"/"-c $root/$1"}
    line=${line//"$root/src"/"$scratch/src"}
    run_command "$build" "$line"
    objects+=("$output")
}

# Only sources that iterate over the rows of the table are compiled again.
mapfile -t readers < <(grep -lrwE 'GPON_ME_ROWS|me_table|me_classes\.def' --include='*.cpp' src tool)
for source in "${readers[@]}"; do
    compile "$source"
done
compile src/me_class/imaginary_class.cpp src/me_class/class_table.cpp

link() { # OUTPUT
    run_command "$build" "$(link_command "$build" bin/gponflow "$1" "${objects[@]}")"
}
new=$scratch/gponflow
link "$new"

# An ONU reports the instance before the bridge at which it points.
python3 tests/tool/new_class_upload.py "$scratch/upload.pcap"

cat >"$scratch/line.scn" <<'SCENARIO'
load
me create IMAGINARY_CLASS 1 portPointer=0x0001 level=70000 shades=1,2,3
me create 300 2 portPointer=1 level=5
me create 300 3 portPointer=9
debug show raw_data 300
SCENARIO

# expect TITLE TEXT COMMAND...: TEXT is among what the command prints.
expect() {
    local output
    output=$("${@:3}" 2>&1) || true
    if [[ $output != *"$2"* ]]; then
        printf '%s: no "%s" in:\n%s\n' "$1" "$2" "$output"
        failed=1
    fi
}

expect "the build without the class" "neither a number nor a class name" "$build/bin/gponflow" run "$scratch/line.scn"
expect "dump, title" "dump IMAGINARY_CLASS(classId = 300):" "$new" run "$scratch/line.scn"
expect "dump, columns" "    instID | portPointer |      level | " "$new" run "$scratch/line.scn"
expect "dump, values" "    0x0001 |      0x0001 |      70000 | " "$new" run "$scratch/line.scn"
expect "dump, list" "shades =     1     2     3" "$new" run "$scratch/line.scn"
expect "dump, links" "imaginaryInst = 0x0001 0x0002" "$new" run "$scratch/line.scn"
expect "graph, node" '"IMAGINARY_CLASS 0x0001" [label=' "$new" graph "$scratch/line.scn"
expect "graph, edge" '"IMAGINARY_CLASS 0x0002" -> "IMAGINARY_CLASS 0x0001" [label="portPointer"' \
    "$new" graph "$scratch/line.scn"
expect "check" "portPointer names IMAGINARY_CLASS 0x0009, which does not exist" \
    "$new" check "$scratch/line.scn"
expect "completion" "IMAGINARY_CLASS" "$new" completion
expect "upload, create" "me create IMAGINARY_CLASS 0x0007 mask=0xf000 portPointer=0x0000 level=70000" \
    "$new" omci "$scratch/upload.pcap"
expect "upload, order" '"IMAGINARY_CLASS 0x0007" -> "MAC_BRIDGE_SERVICE_PROFILE 0x0001" [label="bridgePointer"]' \
    "$new" graph "$scratch/upload.pcap"
expect "upload, title" "imaginary class 0x0007" "$new" omci "$scratch/upload.pcap"
expect "report, caption" "Imagination 0x0001" "$new" report "$scratch/line.scn" -o -
expect "upload, no link" "0x0001  0                  0          0                   -" "$new" show me --class 45 "$scratch/upload.pcap"

# A bridge records the instances that point at it.
imaginary='{.related_class_id = me_class::imaginary, .name = "imaginaryInst", .related_inst_num = 1}'
bridge=src/me_class/mbsp_mac_bridge_service_profile.cpp
sed -i "s/\"mbpcdInst\", .related_inst_num = 512},/& $imaginary,/" "$scratch/$bridge"
compile "$bridge"
link "$scratch/gponflow-linked"
expect "upload, links" "0x0007         -" \
    "$scratch/gponflow-linked" show me --class 45 "$scratch/upload.pcap"
exit "$failed"
