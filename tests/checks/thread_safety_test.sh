# SPDX-License-Identifier: GPL-2.0-only
# With the lock contracts in the core's headers, clang rejects code that breaks them.
set -eu
if ! command -v clang++ >/dev/null; then
    echo "no clang++ here"
    exit 77
fi
. tests/checks/proof.sh

fresh_tree

# LINES: compiled as the body of a function that has the headers of the rule table and the store.
analyse() {
    file a.cpp <<SOURCE
#include "hash/generation.h"
#include "hash/rule_table.h"
#include "base/memory.h"
#include "me/default_config.h"
#include "me/link_update.h"
#include "me/links.h"
#include "me/list.h"
void body();
void body() { $1 }
SOURCE
    clang++ -std=c++20 -fsyntax-only -Isrc -DGPON_HOST_BUILD -Wthread-safety -Werror "$tree/a.cpp"
}

guard='gpon::bh_lock guard(gpon_hash_lock);'
passes "change under the lock" analyse "$guard gpon_hash_rehash_new_table();"
passes "taking the lock once" analyse 'gpon_hash_clean_all_safe();'
fails "change without the lock" "requires holding" analyse 'gpon_hash_rehash_new_table();'
fails "taking the lock twice" "is held" analyse "$guard gpon_hash_clean_all_safe();"
fails "keeping the lock" "still held" analyse 'spin_lock_bh(&gpon_hash_lock);'

reader='const gpon::rcu_reader reader;'
control='const gpon::control_guard control;'
read='static_cast<void>(gpon::find_inst(nullptr, 1));'
change='gpon_flow_clean_all_me_inst();'
passes "reading in a read section" analyse "$reader $read"
passes "reading under the control mutex" analyse "$control $read"
passes "reading after the assertion of a called function" analyse "assert_reads_lists(); $read"
fails "reading without either" "requires holding RCU read-side section" analyse "$read"
fails "reading after the read section" "requires holding RCU read-side section" \
    analyse "{ $reader } $read"
fails "keeping the read section" "still held" analyse 'rcu_read_lock();'
passes "changing under the control mutex" analyse "$control $change"
passes "changing after the assertion of a called function" analyse "assert_changes_lists(); $change"
fails "changing in a read section" "requires holding mutex" analyse "$reader $change"
fails "changing after the assertion of a reader" "requires holding mutex" \
    analyse "assert_reads_lists(); $change"
fails "changing a link in a read section" "requires holding mutex" \
    analyse "$reader gpon_me_related_id id = {}; gpon::store_related_id(id, {});"
fails "reporting a link without the mutex" "requires holding mutex" \
    analyse 'gpon_flow_me_general_update(nullptr);'
passes "a change of the store under the mutex" analyse "$control const gpon::store_change change;"
fails "a change of the store without the mutex" "requires holding mutex" \
    analyse 'const gpon::store_change change;'
fails "taking the control mutex twice" "already held" analyse "$control { $control }"
passes "configuration under the mutex" analyse "$control gpon_flow_cfg_data = {};"
fails "configuration without the mutex" "requires holding mutex" analyse 'gpon_flow_cfg_data = {};'
exit "$proofs_failed"
