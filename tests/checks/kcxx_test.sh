# SPDX-License-Identifier: GPL-2.0-only
set -eu
. tests/checks/proof.sh

# What the kernel's build defines, and a compilation that prints its flags.
fresh_tree
file core.cpp <<<''
cat >"$tree/Makefile" <<END
src := .
obj := .
CC := gcc
VERSION := 6
gpon_core_objs := core.o
_c_flags := -O2 -std=gnu11 -Wstrict-prototypes -Ikernel -fplugin=./scripts/gcc-plugins/randomize_layout_plugin.so \
	-fplugin-arg-randomize_layout_plugin-performance-mode -DRANDSTRUCT_PLUGIN -DRANDSTRUCT \
	-frandomize-layout-seed-file=./scripts/basic/randstruct.seed -fno-plt
if_changed_rule = @echo \$(CC) \$(c_flags)
include $PWD/src/platform/linux/kcxx.mk
FORCE:
END

flags=$(make -s -C "$tree" core.o)
# has FLAG, lacks FLAG
has() { [[ " $flags " == *" $1"* ]]; }
lacks() { ! has "$1"; }
for flag in g++ -O2 -Ikernel -fno-plt -std=c++20 -fno-exceptions; do
    passes "C++ is compiled with $flag" has "$flag "
done
for flag in -std=gnu11 -Wstrict-prototypes -fplugin -DRANDSTRUCT -frandomize-layout; do
    passes "C++ is compiled without $flag" lacks "$flag"
done

exit "$proofs_failed"
