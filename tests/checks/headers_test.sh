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

# The headers of platform/api, which declare nothing of the core but in the exceptions of the check.
api_tree() {
    paired_tree
    file src/platform/api/kernel_api.h <<<'void printk();'
    file src/platform/api/module_entry.h <<<'void walk();'
    file src/platform/api/observe.h <<<'#define ENTRY(name) name
        int ENTRY(call)(int); extern int third_list;'
}
api_tree
passes "declarations of the platform" check_tree
file src/platform/api/kernel_api.h <<<'int call(int (*visit)(int));'
fails "a declaration of the core" "kernel_api.h declares call, which src/me/list.cpp" check_tree
api_tree
file src/platform/api/observe.h <<<'void printk();'
fails "an exception without a declaration of the core" "observe.h is no exception any more" check_tree

# The tool, whose sources are read. Only the exceptions of the check may have faults.
tool_tree() {
    paired_tree
    local header
    while read -r header; do
        file "$header" <<<'void nowhere();'
    done < <(sed -n '/^TOOL_EXCEPTIONS/,/^}/s/^ *"\(tool[^"]*\)".*/\1/p' "$check")
    file tool/text/words.h <<<'namespace gponflow {
        class words { public: virtual ~words(); virtual int count() = 0; std::function<void(int)> take; };
        std::vector<int> split(int at = 0);
        int to_text(int);
        extern const char* const help; }'
    file tool/text/words.cpp <<<'#include "tool/text/words.h"
        namespace gponflow { namespace { int hidden() { return 1; } }
        words::~words() = default;
        const char* const help = R"(a "text" { )";
        std::vector<int> split(int at) { return {at, 1'"'"'000}; }
        int to_text(int one) { return hidden() + one; } }'
    file tool/text/numbers.cpp <<<'namespace gponflow { int to_text(char) { return 1; } int number() { return 2; } }'
}
tool_tree
passes "declarations of the tool" check_tree
file tool/text/numbers.h <<<'namespace gponflow { int number(); int split(int); }'
fails "the function of another source of the tool" "split, which tool/text/words.cpp" check_tree
tool_tree
file tool/text/words.h <<<'namespace gponflow { int hidden(); }'
fails "a function in an unnamed namespace" "hidden, which no source" check_tree
tool_tree
file tool/check/families.h <<<'int nothing;'
fails "an exception without a fault" "families.h is no exception any more" check_tree

fresh_tree
object src/me/list.cpp 'int f() { return 1; }'
fails "a tree without a header" "no declaration" check_tree
fails "no object" "usage" python3 "$check" "$tree"
exit "$proofs_failed"
