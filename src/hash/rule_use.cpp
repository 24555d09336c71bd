// SPDX-License-Identifier: GPL-2.0-only
#include "rule_use.h"

#include <bit>

#include "../base/counters.h"
#include "../base/memory.h"

static_assert(GPON_OUTCOME_PLACES == gpon::OUTCOME_PLACES << gpon::OUTCOME_SET_BITS);

namespace {

// The counters of frames with a remembered outcome, by the bit of their direction.
constexpr gpon_counter REMEMBERED[] = {GPON_COUNT_remembered_up_ani, GPON_COUNT_remembered_up_uni,
                                       GPON_COUNT_remembered_down_ani,
                                       GPON_COUNT_remembered_down_uni};
static_assert(UP_ANI == 1u << 0 && UP_UNI == 1u << 1 && DOWN_ANI == 1u << 2 && DOWN_UNI == 1u << 3);

struct place_owner {
    gpon_flow_rule* rule; // null: none
    u64 base;
    u16 next;     // as first_place of the rule
    u8 direction; // index of REMEMBERED
};

// By place; under gpon_hash_lock.
GPON_MODULE_DATA constinit place_owner outcome_owners[GPON_OUTCOME_PLACES] = {};

// A read of the counters looks at so many places under one lock.
constexpr size_t PORTION = 64;
constexpr size_t PORTIONS = GPON_OUTCOME_PLACES / PORTION;
static_assert(GPON_OUTCOME_PLACES % PORTION == 0);

// Uses of the places of each portion before their last fill, by direction; under gpon_hash_lock.
GPON_MODULE_DATA constinit u64 settled_uses[PORTIONS][std::size(REMEMBERED)] = {};

// Lists of places contain the index of a place plus one; 0 ends them.
place_owner& owner_at(u16 link)
{
    return outcome_owners[link - 1];
}

// True if the first time is after the second one; jiffies wrap.
bool is_after(unsigned long first, unsigned long second)
{
    return static_cast<long>(first - second) > 0;
}

// The sum of all CPUs for one place, and the last use.
[[gnu::noinline]] gpon::rule_use sum_of(size_t place)
{
    gpon::rule_use sum = {};
    int cpu = -1;
    while (const gpon_cpu_counters* own = next_cpu_counters(&cpu)) {
        const u64 hits = gpon::load_relaxed(own->place[place].hits);
        const unsigned long last = gpon::load_relaxed(own->place[place].last);
        if (hits != 0 && (sum.hits == 0 || is_after(last, sum.last_used)))
            sum.last_used = last;
        sum.hits += hits;
    }
    return sum;
}

// Adds the uses of a place since it belongs to its owner.
void add_place(gpon::rule_use& use, const gpon::rule_use& sum, u64 base)
{
    if (sum.hits == base)
        return;
    use.hits += sum.hits - base;
    if (is_after(sum.last_used, use.last_used))
        use.last_used = sum.last_used;
}

void remove_link(gpon_flow_rule& rule, u16 link)
{
    u16* at = &rule.first_place;
    while (*at != link)
        at = &owner_at(*at).next;
    *at = owner_at(link).next;
}

// Ends the uses of a place so far, and returns the sum of its words. Its rule no longer has the
// place.
u64 settle(u16 link)
{
    const place_owner& owner = owner_at(link);
    const gpon::rule_use sum = sum_of(link - 1u);
    settled_uses[(link - 1u) / PORTION][owner.direction] += sum.hits - owner.base;
    gpon_flow_rule* rule = owner.rule;
    if (!rule)
        return sum.hits;
    gpon::rule_use use = {rule->hits, rule->last_used};
    add_place(use, sum, owner.base);
    rule->hits = use.hits;
    rule->last_used = use.last_used;
    remove_link(*rule, link);
    return sum.hits;
}

// Adds the words of one CPU to the sums of their directions.
void add_places_of(const gpon_cpu_counters& own, size_t first, std::span<u64> sums)
{
    for (size_t place = first; place < first + PORTION; ++place)
        sums[REMEMBERED[outcome_owners[place].direction]] +=
            gpon::load_relaxed(own.place[place].hits);
}

// A fill moves uses between the words and the settled uses of its portion, so both are read under
// one lock. A sum of portions that are read one after the other never decreases.
void add_portion(size_t portion, std::span<u64> sums) GPON_EXCLUDES(gpon_hash_lock)
{
    const gpon::bh_lock lock(gpon_hash_lock);
    for (size_t i = 0; i < std::size(REMEMBERED); ++i)
        sums[REMEMBERED[i]] += settled_uses[portion][i];
    int cpu = -1;
    while (const gpon_cpu_counters* own = next_cpu_counters(&cpu))
        add_places_of(*own, portion * PORTION, sums);
    for (size_t place = portion * PORTION; place < (portion + 1) * PORTION; ++place)
        sums[REMEMBERED[outcome_owners[place].direction]] -= outcome_owners[place].base;
}

} // namespace

gpon::rule_use gpon::use_of(const gpon_flow_rule& rule)
{
    rule_use use = {rule.hits, rule.last_used};
    for (u16 link = rule.first_place; link != 0; link = owner_at(link).next)
        add_place(use, sum_of(link - 1u), owner_at(link).base);
    return use;
}

const gpon::outcome* gpon::current_place_of(const gpon_flow_rule& rule)
{
    for (u16 link = rule.first_place; link != 0; link = owner_at(link).next) {
        const u32 index = link - 1u;
        const outcome& place = outcome_sets[index / OUTCOME_PLACES].place[index % OUTCOME_PLACES];
        if (place.generation == current_generation())
            return &place;
    }
    return nullptr;
}

void gpon::add_use(gpon_flow_rule& rule)
{
    ++rule.hits;
    rule.last_used = get_jiffies_64();
}

void gpon::take_place(const outcome& place, u16 fwd_flag, gpon_flow_rule* rule)
{
    const size_t index = place_index(place);
    const u16 link = static_cast<u16>(index + 1);
    const u64 base = settle(link);
    // After settle, which may have changed the list of this rule.
    const u16 next = rule ? rule->first_place : u16{0};
    const u8 direction = std::countr_zero(fwd_flag) % std::size(REMEMBERED);
    outcome_owners[index] = {rule, base, next, direction};
    if (rule)
        rule->first_place = link;
}

void gpon::add_failed_use(size_t place)
{
    // The outcome of any other direction cannot fail.
    count(GPON_COUNT_remembered_up_ani);
    const bh_lock lock(gpon_hash_lock);
    if (gpon_flow_rule* rule = outcome_owners[place].rule)
        add_use(*rule);
}

void gpon::add_places(std::span<u64> sums)
{
    for (size_t portion = 0; portion < PORTIONS; ++portion)
        add_portion(portion, sums);
}

void gpon::leave_places(gpon_flow_rule& rule)
{
    for (u16 link = rule.first_place; link != 0; link = owner_at(link).next)
        owner_at(link).rule = nullptr;
    rule.first_place = 0;
}

void gpon::inherit_use(gpon_flow_rule& copy, gpon_flow_rule& old)
{
    copy.hits = old.hits;
    copy.last_used = old.last_used;
    copy.first_place = old.first_place;
    for (u16 link = copy.first_place; link != 0; link = owner_at(link).next)
        owner_at(link).rule = &copy;
    old.first_place = 0;
}
