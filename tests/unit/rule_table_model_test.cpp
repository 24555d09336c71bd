// SPDX-License-Identifier: GPL-2.0-only
// The rule table against a simple model.
#include "tests/support/rounds.h"
#include "tests/unit/rule_table_fixture.h"

#include <cstring>
#include <map>
#include <optional>
#include <random>
#include <utility>
#include <vector>

namespace {

using gpon::test::plain_hash;

// A simple model of the table: at most one rule per bucket, adds that collide are dropped, growth
// adds the old rules again in bucket order.
class table_model {
public:
    using bytes = std::vector<u8>;

    [[nodiscard]] size_t rules() const { return buckets_.size(); }
    [[nodiscard]] u32 size() const { return size_; }

    void clean() { buckets_.clear(); }
    void remove(u32 hash) { buckets_.erase(hash & (size_ - 1)); }

    void sweep()
    {
        for (auto entry = buckets_.begin(); entry != buckets_.end();)
            if (std::exchange(entry->second.hit, false))
                ++entry;
            else
                entry = buckets_.erase(entry);
    }

    void add(const bytes& k, u16 number)
    {
        make_room();
        place(k, number);
    }

    // The number of a rule, which is then in use.
    std::optional<u16> use(const bytes& k)
    {
        const auto slot = buckets_.find(bucket_of(k));
        if (slot == buckets_.end() || slot->second.key != k)
            return std::nullopt;
        slot->second.hit = true;
        return slot->second.number;
    }

private:
    struct rule {
        bytes key;
        u16 number;
        bool hit;
    };

    [[nodiscard]] u32 bucket_of(const bytes& k) const
    {
        return plain_hash(k.data(), static_cast<u16>(k.size())) & (size_ - 1);
    }

    void place(const bytes& k, u16 number)
    {
        const auto [slot, fresh] = buckets_.try_emplace(bucket_of(k), rule{k, number, true});
        if (!fresh && slot->second.key == k)
            slot->second = {k, number, true};
    }

    void make_room()
    {
        if (buckets_.size() < size_ * 3 / 4)
            return;
        if (size_ == 1024)
            return sweep();
        const auto old = std::exchange(buckets_, {});
        size_ *= 2;
        for (const auto& [index, entry] : old)
            place(entry.key, entry.number);
    }

    std::map<u32, rule> buckets_;
    u32 size_ = 64;
};

class modelled_rule_table : public rule_table {
protected:
    void delete_both(const table_model::bytes& k, u16 index)
    {
        const u32 hash = plain_hash(k.data(), static_cast<u16>(k.size()));
        gpon_hash_delete_node_safe(hash, index);
        if (index == 0)
            model.remove(hash);
    }

    [[nodiscard]] bool add_both(const table_model::bytes& k, u16 number)
    {
        model.add(k, number);
        const gpon_rule_trace trace = trace_of(number);
        return gpon_hash_add_node_safe(k.data(), static_cast<u16>(k.size()), &trace) == 0;
    }

    [[nodiscard]] bool find_both(const table_model::bytes& k)
    {
        gpon_rule_trace trace = {};
        const i32 got = gpon_hash_get_rule_safe(k.data(), static_cast<u16>(k.size()), &trace);
        const std::optional<u16> number = model.use(k);
        return number ? got == 0 && trace.step[0].instId == *number : got == -1;
    }

    // False if the results differ. choice is a random number below 10000.
    [[nodiscard]] bool operate_both(const table_model::bytes& k, u32 choice, u16 number)
    {
        if (choice == 0) {
            gpon_hash_clean_all_safe();
            model.clean();
        } else if (choice <= 20) {
            delete_both(k, static_cast<u16>(choice & 1));
        } else if (choice <= 25) {
            sweep();
            model.sweep();
        } else if (choice <= 4000) {
            return add_both(k, number);
        } else {
            return find_both(k);
        }
        return true;
    }

    table_model model;
};

TEST_F(modelled_rule_table, agrees_with_the_model_over_random_operations)
{
    std::mt19937 random(7);
    for (int step = 0; step < gpon::test::rounds(2000000); ++step) {
        table_model::bytes k(16 + 4 * (random() % 5));
        const u32 number = static_cast<u32>(random() % 3000);
        std::memcpy(k.data() + 6, &number, sizeof(number));
        const auto value = static_cast<u16>(random());
        ASSERT_TRUE(operate_both(k, static_cast<u32>(random() % 10000), value));
        ASSERT_EQ(table().total_num, model.rules());
        ASSERT_EQ(table().table_size, model.size());
    }
    EXPECT_EQ(model.size(), 1024u) << "the run must reach the ceiling";
}

} // namespace
