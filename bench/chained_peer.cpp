// SPDX-License-Identifier: GPL-2.0-only
/*
 * The obvious implementation: a table of chains, a bytewise CRC, an allocated node with key and
 * value, a mutex around each operation.
 */
#include <array>
#include <cstring>
#include <memory>
#include <mutex>

#include "bench/peer.h"

namespace gpon::bench {
namespace {

constexpr std::array<uint32_t, 256> crc_table = [] {
    std::array<uint32_t, 256> table = {};
    for (uint32_t byte = 0; byte < 256; ++byte) {
        uint32_t crc = byte;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (crc & 1 ? 0xEDB88320u : 0u);
        table[byte] = crc;
    }
    return table;
}();

uint32_t bytewise_crc(const rule_key& key)
{
    uint32_t crc = 0;
    for (unsigned i = 0; i < key.length; ++i)
        crc = crc_table[(crc ^ key.bytes[i]) & 0xff] ^ (crc >> 8);
    return crc;
}

class chained_table {
public:
    explicit chained_table(uint16_t) {}

    bool add(const rule_key& key, const gpon_rule_trace& trace)
    {
        std::unique_ptr<node>& head = head_of(key);
        const std::lock_guard held(lock_);
        head.reset(new node{key, trace, std::move(head)});
        return true;
    }

    bool find(const rule_key& key, gpon_rule_trace* out)
    {
        const std::unique_ptr<node>& head = head_of(key);
        const std::lock_guard held(lock_);
        for (const node* at = head.get(); at; at = at->next.get())
            if (at->key.length == key.length &&
                std::memcmp(at->key.bytes.data(), key.bytes.data(), key.length) == 0) {
                *out = at->trace;
                return true;
            }
        return false;
    }

    void clear()
    {
        for (auto& head : heads_)
            head.reset();
    }

private:
    struct node {
        rule_key key;
        gpon_rule_trace trace;
        std::unique_ptr<node> next;
    };

    std::unique_ptr<node>& head_of(const rule_key& key)
    {
        return heads_[bytewise_crc(key) % heads_.size()];
    }

    std::array<std::unique_ptr<node>, 1024> heads_;
    std::mutex lock_;
};

} // namespace

void add_chained_cases(case_list& cases)
{
    add_peer_cases<chained_table>(cases, "peer/chained");
}

} // namespace gpon::bench
