// SPDX-License-Identifier: GPL-2.0-only
#include <stdexcept>

#include "base/memory.h"
#include "bench/cases.h"
#include "bench/keys.h"
#include "bench/line.h"
#include "hash/aging.h"
#include "hash/rule_table.h"

namespace gpon::bench {
namespace {

// Number of buckets of a table after it has learnt that many rules.
unsigned buckets_for(unsigned rules)
{
    unsigned buckets = GPON_HASH_MIN_SIZE;
    while (buckets < GPON_HASH_MAX_SIZE && rules > buckets * 3 / 4)
        buckets *= 2;
    return buckets;
}

/* A loaded module and keys that are all stored, in a table of sufficient size. */
class table_work : public work {
protected:
    table_work(unsigned rules, uint16_t length) : keys(keys_for(rules, length, buckets_for(rules)))
    {
        start_with(buckets_for(rules));
    }

    static void start_with(unsigned buckets)
    {
        const bh_lock lock(gpon_hash_lock);
        gpon_hash_destroy_table(&gpon_hash_table_record);
        static_cast<void>(gpon_hash_inflate_table(buckets));
    }

    void learn_all()
    {
        for (const rule_key& key : keys)
            gpon_hash_add_node_safe(key.bytes.data(), key.length, &trace);
    }

    void learn_and_check()
    {
        learn_all();
        gpon_rule_trace out;
        for (const rule_key& key : keys)
            if (gpon_hash_get_rule_safe(key.bytes.data(), key.length, &out) != 0)
                throw std::runtime_error("a rule was not stored");
    }

    line empty_line{line_shape{0, 0}};
    const std::vector<rule_key> keys;
    const gpon_rule_trace trace = trace_of_a_walk();
};

class lookup final : public table_work {
public:
    lookup(unsigned rules, uint16_t length, bool hit) : table_work(rules, length)
    {
        learn_and_check();
        asked_ = hit ? keys : other_keys(keys);
    }

    void pass() override
    {
        gpon_rule_trace out;
        for (const rule_key& key : asked_) {
            keep(gpon_hash_get_rule_safe(key.bytes.data(), key.length, &out));
            keep(out);
        }
    }
    uint32_t operations() const override { return static_cast<uint32_t>(asked_.size()); }

private:
    std::vector<rule_key> asked_;
};

class learn final : public table_work {
public:
    learn(unsigned rules, uint16_t length) : table_work(rules, length) { learn_and_check(); }

    void prepare() override { gpon_hash_clean_all_safe(); }
    void pass() override { learn_all(); }
    uint32_t operations() const override { return static_cast<uint32_t>(keys.size()); }
};

/* Learns an existing rule again, as if two CPUs walk for the same flow. */
class relearn final : public table_work {
public:
    relearn(unsigned rules, uint16_t length) : table_work(rules, length) { learn_and_check(); }

    void pass() override { learn_all(); }
    uint32_t operations() const override { return static_cast<uint32_t>(keys.size()); }
};

/* From 64 buckets to the largest table, including growth. Some keys share a bucket while the table
 * is small, and are dropped as in operation. */
class growth final : public table_work {
public:
    growth(unsigned rules, uint16_t length) : table_work(rules, length) {}

    void prepare() override { start_with(GPON_HASH_MIN_SIZE); }
    void pass() override { learn_all(); }
    uint32_t operations() const override { return static_cast<uint32_t>(keys.size()); }
};

/* The aging sweep of a full table in which every rule was used. */
class sweep final : public table_work {
public:
    sweep(unsigned rules, uint16_t length) : table_work(rules, length) { learn_and_check(); }

    void prepare() override { learn_all(); }
    void pass() override
    {
        const bh_lock lock(gpon_hash_lock);
        gpon_hash_delete_aging_node();
    }
};

/* The same if no rule was used since the last sweep: all are deleted. */
class sweep_out final : public table_work {
public:
    sweep_out(unsigned rules, uint16_t length) : table_work(rules, length) {}

    void prepare() override
    {
        learn_all();
        const bh_lock lock(gpon_hash_lock);
        gpon_hash_delete_aging_node();
    }
    void pass() override
    {
        const bh_lock lock(gpon_hash_lock);
        gpon_hash_delete_aging_node();
    }
};

class flush final : public table_work {
public:
    flush(unsigned rules, uint16_t length) : table_work(rules, length) {}

    void prepare() override { learn_all(); }
    void pass() override { gpon_hash_clean_all_safe(); }
};

/* The cost of the uncontended lock in a look-up. */
class lock_alone final : public work {
public:
    void pass() override { const bh_lock lock(gpon_hash_lock); }

private:
    line empty_line_{line_shape{0, 0}};
};

template <typename Work> bench_case prepared(std::string name, unsigned rules, uint16_t length)
{
    bench_case made = make_case<Work>(std::move(name), rules, length);
    made.prepares = true;
    return made;
}

} // namespace

void add_rule_cases(case_list& cases)
{
    cases.push_back(make_case<lock_alone>("rule/lock_alone"));
    for (const uint16_t length : key_lengths) {
        const std::string bytes = "/" + std::to_string(length) + "_bytes";
        for (const unsigned rules : {48u, 256u, 768u}) {
            const std::string size = bytes + "/" + std::to_string(rules) + "_rules";
            cases.push_back(make_case<lookup>("rule/lookup_hit" + size, rules, length, true));
            cases.back().parallel = true;
            cases.push_back(make_case<lookup>("rule/lookup_miss" + size, rules, length, false));
        }
        cases.push_back(prepared<learn>("rule/learn" + bytes + "/256_rules", 256, length));
        cases.push_back(make_case<relearn>("rule/learn_again" + bytes + "/256_rules", 256, length));
    }
    cases.push_back(prepared<growth>("rule/growth/768_keys", 768, 16));
    cases.push_back(prepared<sweep>("rule/sweep_marks/768_rules", 768, 16));
    cases.push_back(prepared<sweep_out>("rule/sweep_deletes/768_rules", 768, 16));
    cases.push_back(prepared<flush>("rule/flush/768_rules", 768, 16));
}

} // namespace gpon::bench
