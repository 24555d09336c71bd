# SPDX-License-Identifier: GPL-2.0-only
#
# The layout of a packet's fields is compiled with the glue that it belongs to: the module's own, and the
# worked example of docs/porting.md, whose three C blocks also run with a driver.
set -eu
. tests/checks/proof.sh

# NUMBER: a C block of the page.
c_block() {
    awk -v wanted="$1" '/^```c$/ { number++ ; inside = 1 ; next } /^```/ { inside = 0 }
        inside && number == wanted' docs/porting.md
}

strict_gcc() {
    gcc -std=gnu11 -Wall -Wextra -Wno-unused-parameter -Werror -I"$tree" -I"$tree/stubs" "$@"
}

compile() {
    strict_gcc "$tree"/src/platform/linux/{packets,driver_hook}.c tests/glue/porting_example.c -o "$tree/driver"
}

compile_layout() {
    strict_gcc -fsyntax-only "$tree/src/platform/linux/packets.c"
}

fresh_tree
mkdir -p "$tree/src/platform/linux"
cp -r tests/glue/kernel "$tree/stubs"
cp -r src/base src/include "$tree/src"
cp -r src/platform/api "$tree/src/platform"
cp src/platform/linux/{packets.c,glue.h,packet_layout.h} "$tree/src/platform/linux"
passes "the module's layout compiles" compile_layout
sed -i 's/u32 flag_word;/u16 flag_word;/' "$tree/src/platform/linux/packet_layout.h"
fails "a flag word of 16 bits" "32 bits of flags" compile_layout
{ printf '%s\n' '#pragma once' '#include <linux/skbuff.h>' && c_block 1; } | file driver_meta.h
{ echo '#pragma once' && c_block 2; } | file src/platform/linux/packet_layout.h
c_block 3 | file src/platform/linux/driver_hook.c
passes "the example compiles" compile
passes "the example runs" "$tree/driver"

sed -i 's/uni << 4/uni/' "$tree/src/platform/linux/packet_layout.h"
passes "a wrong layout compiles" compile
fails "a wrong layout" "port word: 3, not 48" "$tree/driver"
exit "$proofs_failed"
