/* SPDX-License-Identifier: GPL-2.0-only */
/* The cases of a table for comparison with the rule table. */
#pragma once

#include <memory>
#include <stdexcept>
#include <string>

#include "bench/cases.h"
#include "bench/keys.h"

namespace gpon::bench {

/* Table(length): room for 1024 keys of that length. bool add(key, trace); bool find(key, trace*);
 * clear(). */
template <typename Table> class peer_work : public work {
protected:
    peer_work(unsigned rules, uint16_t length)
        : table(length), keys(keys_for(rules, length,
                                       rules > 384  ? 1024
                                       : rules > 48 ? 512
                                                    : 64))
    {
    }

    void add_all()
    {
        for (const rule_key& key : keys)
            keep(table.add(key, trace));
    }

    void add_and_check()
    {
        add_all();
        gpon_rule_trace out;
        for (const rule_key& key : keys)
            if (!table.find(key, &out))
                throw std::runtime_error("a key was not stored");
    }

    Table table;
    const std::vector<rule_key> keys;
    const gpon_rule_trace trace = trace_of_a_walk();
};

template <typename Table> class peer_lookup final : public peer_work<Table> {
public:
    peer_lookup(unsigned rules, uint16_t length, bool hit) : peer_work<Table>(rules, length)
    {
        this->add_and_check();
        asked_ = hit ? this->keys : other_keys(this->keys);
    }

    void pass() override
    {
        gpon_rule_trace out;
        for (const rule_key& key : asked_) {
            keep(this->table.find(key, &out));
            keep(out);
        }
    }
    uint32_t operations() const override { return static_cast<uint32_t>(asked_.size()); }

private:
    std::vector<rule_key> asked_;
};

template <typename Table> class peer_learn final : public peer_work<Table> {
public:
    peer_learn(unsigned rules, uint16_t length) : peer_work<Table>(rules, length)
    {
        this->add_and_check();
    }

    void prepare() override { this->table.clear(); }
    void pass() override { this->add_all(); }
    uint32_t operations() const override { return static_cast<uint32_t>(this->keys.size()); }
};

template <typename Table> void add_peer_cases(case_list& cases, const std::string& name)
{
    for (const uint16_t length : key_lengths) {
        const std::string bytes = "/" + std::to_string(length) + "_bytes";
        for (const unsigned rules : {48u, 256u, 768u}) {
            const std::string size = bytes + "/" + std::to_string(rules) + "_rules";
            cases.push_back(
                make_case<peer_lookup<Table>>(name + "/lookup_hit" + size, rules, length, true));
            cases.push_back(
                make_case<peer_lookup<Table>>(name + "/lookup_miss" + size, rules, length, false));
            cases.back().counted = cases[cases.size() - 2].counted = false;
        }
        cases.push_back(
            make_case<peer_learn<Table>>(name + "/learn" + bytes + "/256_rules", 256u, length));
        cases.back().prepares = true;
        cases.back().counted = false;
    }
}

} // namespace gpon::bench
