// SPDX-License-Identifier: GPL-2.0-only
/* liburcu's lock-free hash table with the hash of the rule table; readers use read-side sections.
 */
#define rcu_head urcu_head
#define _LGPL_SOURCE 1 // read sections inline
#include <urcu/rculfhash.h>
#include <urcu/urcu-memb.h>
#undef rcu_head
#undef rcu_assign_pointer
#undef rcu_dereference

#include <cstring>

#include "bench/peer.h"
#include "hash/crc32.h"
#include "hash/rule_table.h"

namespace gpon::bench {
namespace {

struct lfht_node {
    cds_lfht_node link;
    rule_key key;
    gpon_rule_trace trace;
};

int has_key(cds_lfht_node* link, const void* wanted)
{
    const auto& key = *static_cast<const rule_key*>(wanted);
    const auto& node = *reinterpret_cast<const lfht_node*>(link);
    return node.key.length == key.length &&
           std::memcmp(node.key.bytes.data(), key.bytes.data(), key.length) == 0;
}

uint32_t hash_of(const rule_key& key)
{
    return gpon_hash_calc_key(key.bytes.data(), key.length);
}

class lfht_table {
public:
    explicit lfht_table(uint16_t)
    {
        urcu_memb_register_thread();
        make();
    }
    ~lfht_table()
    {
        drop();
        urcu_memb_unregister_thread();
    }
    lfht_table(const lfht_table&) = delete;
    lfht_table& operator=(const lfht_table&) = delete;

    bool add(const rule_key& key, const gpon_rule_trace& trace)
    {
        auto* node = new lfht_node{{}, key, trace};
        urcu_memb_read_lock();
        cds_lfht_node* there =
            cds_lfht_add_unique(table_, hash_of(key), has_key, &key, &node->link);
        urcu_memb_read_unlock();
        if (there == &node->link)
            return true;
        delete node;
        return false;
    }

    bool find(const rule_key& key, gpon_rule_trace* out)
    {
        cds_lfht_iter at;
        urcu_memb_read_lock();
        cds_lfht_lookup(table_, hash_of(key), has_key, &key, &at);
        const auto* found = reinterpret_cast<lfht_node*>(cds_lfht_iter_get_node(&at));
        if (found)
            *out = found->trace;
        urcu_memb_read_unlock();
        return found != nullptr;
    }

    void clear()
    {
        drop();
        make();
    }

private:
    void make()
    {
        table_ = cds_lfht_new_flavor(1024, 1024, 1024, 0, &urcu_memb_flavor, nullptr);
        if (!table_)
            throw std::runtime_error("no memory for liburcu's hash table");
    }

    // No reader is left, so nodes are freed without a grace period.
    void drop()
    {
        cds_lfht_iter at;
        cds_lfht_first(table_, &at);
        while (auto* node = reinterpret_cast<lfht_node*>(cds_lfht_iter_get_node(&at))) {
            cds_lfht_next(table_, &at);
            cds_lfht_del(table_, &node->link);
            delete node;
        }
        cds_lfht_destroy(table_, nullptr);
    }

    cds_lfht* table_ = nullptr;
};

} // namespace

void add_lfht_cases(case_list& cases)
{
    add_peer_cases<lfht_table>(cases, "peer/lfht");
}

} // namespace gpon::bench
