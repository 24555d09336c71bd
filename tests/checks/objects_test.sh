# SPDX-License-Identifier: GPL-2.0-only
set -eu
. tests/checks/proof.sh
check=scripts/check-objects.sh
cross=aarch64-linux-gnu-

clean_source='
#ifdef GPON_HOST_BUILD
#define DATA [[gnu::section("gpon_data")]]
#else
#define DATA
#endif
extern "C" int gpon_os_printk(const char*, ...);
DATA int count = 3;
DATA int zero;
static const char* const names[] = {"a", "b"};
extern "C" int f(int i) { return gpon_os_printk(names[i]) + count + ++zero; }
'

# SOURCE: the same text compiled for a process and for a kernel.
compile() {
    fresh_tree
    file a.cpp <<<"$1"
    g++ -std=c++20 -O2 -w -DGPON_HOST_BUILD -c "$tree/a.cpp" -o "$tree/host.o"
    ${cross}g++ -std=c++20 -O2 -w -ffreestanding -fno-pie -mgeneral-regs-only \
        -c "$tree/a.cpp" -o "$tree/module.o"
}

check_host() {
    bash "$check" host "$tree/host.o"
}

check_module() {
    NM=${cross}nm OBJDUMP=${cross}objdump HOST_OBJDUMP=objdump \
        bash "$check" module "$tree/module.o" "$tree/host.o"
}

compile "$clean_source"
passes "marked data, host" check_host
passes "marked data, module" check_module

for line in 'int loose = 3; int* g() { return &loose; }' 'int zeroed; int* g() { return &zeroed; }' \
    'int* g() { static int inside = 3; return &inside; }'; do
    compile "$clean_source $line"
    fails "unmarked data: $line" "without GPON_MODULE_DATA" check_host
    fails "unmarked data: $line" "not what the process build gathers" check_module
done

compile "$clean_source thread_local int own = 3; int* g() { return &own; }"
fails "thread-local data, host" "without GPON_MODULE_DATA" check_host
fails "thread-local data, module" "thread-local" check_module

compile "$clean_source struct made { made(); int i; }; DATA made object;"
fails "a constructor to run, host" "static constructors" check_host
fails "a constructor to run, module" "static constructors" check_module

compile "$clean_source extern \"C\" void kfree(const void*); void g() { kfree(names); }"
passes "a kernel symbol, host" check_host
fails "a kernel symbol, module" "kfree" check_module

compile "$clean_source int g(unsigned i) { return __builtin_popcount(i); }"
fails "a compiler's library function" "__popcountdi2" check_module
fails "no object" "no object" bash "$check" host
exit "$proofs_failed"
