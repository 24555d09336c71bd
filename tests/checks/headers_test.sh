# SPDX-License-Identifier: GPL-2.0-only
set -eu
. tests/checks/proof.sh
check=scripts/check-headers.py

own_header='
/* Not a declaration: void walk(); */
#define NOT_EITHER void walk();
namespace gpon {
class [[nodiscard]] row {
public:
    explicit row(int first = 0) : first_(first) {}
    row& next();
    int first() const { return first_; }

private:
    int first_;
    int (*visit_)(int) = nullptr;
};
inline int one(const char* text = "f(); {") { return 1; }
template <typename T> T zero();
int sum(int a, int b) noexcept;
}
extern "C" {
extern int (*entry)(int);
extern int first_list, second_list[3];
int call(int (*visit)(int));
}
constexpr int SIZE = int(3);
enum kind : int { A, B };
'
own_source='
namespace gpon {
class row { public: row& next(); };
row& row::next() { return *this; }
int sum(int a, int b) noexcept { return a + b; }
}
extern "C" {
int (*entry)(int) = nullptr;
int first_list = 1, second_list[3];
int call(int (*visit)(int)) { return visit(1); }
}
'
paired_tree() {
    fresh_tree
    file src/me/list.h <<<"$own_header"
    object src/me/list.cpp "$own_source"
    object src/pkt/walk.cpp 'void walk() {}
        namespace gpon { class row { public: void print(); }; void row::print() {} }
        int third_list = 1;'
}

paired_tree
passes "declarations of the own source" check_tree

paired_tree
file src/me/table.h <<<'GPON_DEFINED_IN(pkt) void walk();
    GPON_DEFINED_IN(pkt) extern int third_list;'
passes "marked declarations" check_tree
file src/me/table.h <<<'GPON_DEFINED_IN(hash) void walk();'
fails "a mark with the wrong folder" "marks walk" check_tree

# HEADER TEXT REASON
violation() {
    paired_tree
    file "$1" <<<"$2"
    fails "$1: $2" "$1 declares $3" check_tree
}
violation src/me/list.h "$own_header void walk();" "walk, which src/pkt/walk.cpp"
violation src/me/walk.h 'void walk();' "walk, which src/pkt/walk.cpp"
violation src/pkt/flow.h '[[nodiscard]] void walk(int a,
                                                  int b);' "walk, which src/pkt/walk.cpp"
violation src/pkt/flow.h 'namespace gpon { class row { void print(); }; }' "gpon::row::print, which"
violation src/pkt/flow.h 'extern "C" { extern int first_list, third_list[2]; }' \
    'third_list, which src/pkt/walk.cpp'
violation src/pkt/flow.h 'extern int (*entry)(int);' 'entry, which src/me/list.cpp'
violation src/pkt/walk.h 'void lost();' "lost, which no source"

fresh_tree
object src/me/list.cpp 'int f() { return 1; }'
fails "a tree without a header" "no declaration" check_tree
fails "no object" "usage" python3 "$check" "$tree"
exit "$proofs_failed"
