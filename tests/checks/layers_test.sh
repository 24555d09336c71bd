# SPDX-License-Identifier: GPL-2.0-only
set -eu
. tests/checks/proof.sh
check=scripts/check-layers.py

layered_tree() {
    fresh_tree
    mkdir -p "$tree/src"
    cp src/layers.txt "$tree/src/"
    for header in include/a.h platform/api/kernel_api.h base/a.h hash/a.h me/a.h pkt/header.h \
        me_class/a.h pkt/walk.h debug/a.h core/a.h platform/host/host.h; do
        file "src/$header" </dev/null
    done
}

layered_tree
passes "a tree without an include" python3 "$check" "$tree"
file src/core/a.cpp <<<'#include "../pkt/walk.h"'
file src/pkt/walk.cpp <<<'#include "../me_class/a.h"'
file src/me_class/a.cpp <<<'#include "../pkt/header.h"'
file src/hash/a.cpp <<<'#include <cstdint>'
file src/platform/linux/a.c <<<'#include "../api/kernel_api.h"'
passes "includes of lower layers" python3 "$check" "$tree"

# FILE LINE TEXT
violation() {
    layered_tree
    file "$1" <<<"$2"
    fails "$1: $2" "$3" python3 "$check" "$tree"
}
violation src/hash/a.cpp '#include "../me/a.h"' 'layer above'
violation src/include/a.h '#include "../hash/a.h"' 'layer above'
violation src/me/a.cpp '  #  include "../me_class/a.h"' 'layer above'
violation src/me/class_table.h '#include "../me_class/a.h"' 'layer above'
violation src/me_class/a.cpp '#include "../pkt/walk.h"' 'layer above'
violation src/pkt/header.cpp '#include "../me_class/a.h"' 'layer above'
violation src/pkt/walk.cpp '#include "../debug/a.h"' 'layer above'
violation src/debug/a.cpp '#include "../core/a.h"' 'layer above'
violation src/core/a.cpp '#include "../platform/host/host.h"' 'no part of the core'
violation src/core/a.cpp '#include "../pkt/nowhere.h"' 'not there'
violation src/platform/linux/a.c '#include "../../../softonu/a.h"' 'outside of the platform'
violation src/platform/linux/a.h '#include "../../hash/a.h"' 'outside of the platform'
violation src/hash/a.cpp '#include <string>' 'not freestanding'
violation src/hash/a.cpp '#include <linux/types.h>' "kernel's"

fresh_tree
fails "an empty tree" "no source" python3 "$check" "$tree"
exit "$proofs_failed"
