# SPDX-License-Identifier: GPL-2.0-only
set -eu
. tests/checks/proof.sh
check=scripts/check-symbols.py

# The store counts the rows of a table that the classes fill.
table_header='
#define GPON_DEFINED_IN(folder)
GPON_DEFINED_IN(me_class) extern const int me_table[2];
'
layered_tree() {
    fresh_tree
    mkdir -p "$tree/src"
    cp src/layers.txt "$tree/src/"
    file src/me/class_table.h <<<"$table_header"
    object src/base/log.cpp 'void print() {}'
    object src/me/list.cpp 'extern const int me_table[2]; void print();
        int count() { print(); return me_table[0]; }'
    object src/me_class/class_table.cpp 'int count(); extern const int me_table[2];
        const int me_table[2] = {1, 2}; int twice() { return 2 * count(); }'
    object src/pkt/header.cpp 'void read_header() {}'
    object src/pkt/walk.cpp 'void read_header(); int twice();
        void walk() { read_header(); twice(); }'
}

layered_tree
passes "references to lower layers and to the marked table" check_tree

# SOURCE TEXT
violation() {
    layered_tree
    object "$1" "$2"
    fails "$1: $2" "$1 refers to" check_tree
}
violation src/base/a.cpp 'int count(); int g() { return count(); }'
violation src/me/a.cpp 'int twice(); int g() { return twice(); }'
violation src/me/a.cpp 'void walk(); void (*entry)() = walk;'
violation src/me_class/a.cpp 'void walk(); void g() { walk(); }'
violation src/pkt/header.cpp 'int twice(); int read_header() { return twice(); }'
violation src/base/a.cpp 'extern const int me_table[2]; int g() { return me_table[1]; }'

layered_tree
file src/me/class_table.h <<<'extern const int me_table[2];'
fails "the table without its mark" "src/me/list.cpp refers to" check_tree

layered_tree
file src/me/class_table.h <<<"${table_header/DEFINED_IN(me_class)/DEFINED_IN(pkt)}"
fails "a mark with the wrong folder" "does not define" check_tree

layered_tree
file src/hash/another.h <<<'GPON_DEFINED_IN(pkt) void walk();'
fails "marks in two headers" "more than one header" check_tree

layered_tree
object src/other/a.cpp 'void g() {}'
fails "an object of no layer" "in no layer" check_tree

layered_tree
fails "an object that is not there" "nowhere.o" python3 "$check" "$tree" "$tree/src/nowhere.o"
fails "no object" "no object" python3 "$check" "$tree"
exit "$proofs_failed"
