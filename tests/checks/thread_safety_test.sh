# SPDX-License-Identifier: GPL-2.0-only
# The lock contracts in the core's headers are such that clang refuses code that breaks them.
set -eu
if ! command -v clang++ >/dev/null; then
    echo "no clang++ here"
    exit 77
fi
. tests/checks/proof.sh

fresh_tree

# LINES: compiled as the body of a function that has the rule table's headers.
analyse() {
    file a.cpp <<SOURCE
#include "hash/rule_table.h"
#include "base/memory.h"
void body();
void body() { $1 }
SOURCE
    clang++ -std=c++20 -fsyntax-only -Isrc -DGPON_HOST_BUILD -Wthread-safety -Werror "$tree/a.cpp"
}

guard='gpon::bh_lock guard(gpon_hash_lock);'
passes "change under the lock" analyse "$guard gpon_hash_expand_table();"
passes "taking the lock once" analyse 'gpon_hash_clean_all_safe();'
fails "change without the lock" "requires holding" analyse 'gpon_hash_expand_table();'
fails "taking the lock twice" "is held" analyse "$guard gpon_hash_clean_all_safe();"
fails "keeping the lock" "still held" analyse 'spin_lock_bh(&gpon_hash_lock);'
exit "$proofs_failed"
