# SPDX-License-Identifier: GPL-2.0-only
set -eu
. tests/checks/proof.sh
check=scripts/check-joined-names.py

# sources NAME...: the list of a target of these sources.
sources() {
    printf '%s\n' "$tree" "$@" >"$tree/list"
}

# unnamed PATH TEXT: a source with TEXT in an unnamed namespace.
unnamed() {
    printf 'namespace tool {\n\nnamespace {\n\n%s\n\n} // namespace\n\n} // namespace tool\n' "$2" |
        file "$1"
}

# pair TEXT TEXT: two sources with these texts.
pair() {
    fresh_tree
    unnamed a.cpp "$1"
    unnamed b.cpp "$2"
    sources a.cpp b.cpp
}

# conflict WORD TEXT TEXT
conflict() {
    pair "$2" "$3"
    fails "$2 and $3" "$1 of an unnamed namespace" python3 "$check" "$tree/list"
}

# no_conflict TEXT TEXT
no_conflict() {
    pair "$1" "$2"
    passes "$1 and $2" python3 "$check" "$tree/list"
}

# shellcheck disable=SC2016 # texts of C++
conflict most 'constexpr int most = 4;' 'const std::map<int, int> most{{1, 2}};'
conflict is_even 'bool is_even(int x)
{
    return x % 2 == 0;
}' 'template <typename T> [[nodiscard]] bool is_even(int value = 1) { return value; }'
conflict row 'struct row {
    int first;
};' 'enum class row : int { a };'
conflict row 'class row final : public base {};' 'constexpr int row[] = {1};'
conflict row 'int row(int x) { return x; }' 'struct row {};'
conflict list 'using list = std::vector<int>;' 'using list = std::vector<char>;'
conflict 'TEST(a, b)' 'TEST(a, b)
{
    EXPECT_TRUE(true);
}' 'TEST(a, b) {}'

no_conflict 'int size(int x) { return x; }' 'int size(const char* text) { return *text; }'
no_conflict 'constexpr int first = 1;' 'constexpr int second = first_of("int first = 1;");'
no_conflict 'void f() { int i = 0; }' 'void g() { int i = 0; /* void f() {} */ } // void f() {}'
no_conflict 'using testing::Not; int a;' 'using testing::Not; int b;'
no_conflict 'using list = std::vector<int>;' 'using  list = std::vector<int>;'
no_conflict 'TEST(a, b) {}' 'TEST(a, c) {}'

pair 'struct row {};' ''
printf 'namespace {\n\nstruct row {};\n\n} // namespace\n' | file b.cpp
passes "equal names in different namespaces" python3 "$check" "$tree/list"
sources a.cpp
unnamed b.cpp 'struct row {};'
passes "equal names in different targets" python3 "$check" "$tree/list"

fresh_tree
sources
fails "a list without a source" 'no definition' python3 "$check" "$tree/list"
exit "$proofs_failed"
