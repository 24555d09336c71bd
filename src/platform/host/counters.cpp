// SPDX-License-Identifier: GPL-2.0-only
/*
 * The counters: a record for each thread, which plays the part of a CPU. A record outlives its
 * thread, so no count is lost, and the next thread continues with it.
 */
#include <mutex>
#include <stdexcept>
#include <vector>

#include "platform/host/host.h"
#include "platform/host/state.h"

#include "base/counters.h"
#include "platform/api/observe.h"

namespace gpon::host {
namespace {

struct record : gpon_cpu_counters {
    bool in_use = false; // by a running thread
};

std::mutex records_lock;

// Never destroyed: threads may still count when the process ends.
std::vector<record*>& records()
{
    static auto* all = new std::vector<record*>;
    return *all;
}

record& take_record()
{
    const std::lock_guard held(records_lock);
    for (record* one : records())
        if (!one->in_use) {
            one->in_use = true;
            return *one;
        }
    auto* made = new record{};
    made->in_use = true;
    records().push_back(made);
    return *made;
}

constinit thread_local record* own = nullptr;

class registration {
public:
    registration() { own = &take_record(); }
    ~registration()
    {
        const std::lock_guard held(records_lock);
        own->in_use = false;
        own = nullptr;
    }
    registration(const registration&) = delete;
    registration& operator=(const registration&) = delete;
};

// A thread that counts while it ends gets a record for the rest of the process.
record& this_record()
{
    if (own) [[likely]]
        return *own;
    thread_local const registration until_thread_ends;
    if (!own)
        own = &take_record();
    return *own;
}

// Only its own thread writes the word.
void add_to(u64& word, u64 amount)
{
    store_relaxed(word, load_relaxed(word) + amount);
}

} // namespace

std::vector<counter> counters()
{
    u64 sums[GPON_COUNTERS];
    gpon_counters_read(sums);
    std::vector<counter> read;
    for (u32 i = 0; i < GPON_COUNTERS; ++i)
        read.push_back({gpon_counter_texts[i].name, gpon_counter_texts[i].meaning, sums[i]});
    return read;
}

uint64_t counter_value(std::string_view name)
{
    for (const counter& one : counters())
        if (one.name == name)
            return one.value;
    throw std::invalid_argument("no counter " + std::string(name));
}

void reset_counters()
{
    const std::lock_guard held(records_lock);
    for (record* one : records())
        static_cast<gpon_cpu_counters&>(*one) = {};
}

} // namespace gpon::host

using namespace gpon::host;

void count_use(unsigned long place)
{
    gpon_place_use& use = this_record().place[place];
    add_to(use.hits, 1);
    gpon::store_relaxed(use.last, get_jiffies_64());
}

void count_many(gpon_counter counter, unsigned long amount)
{
    add_to(this_record().count[counter], amount);
}

const gpon_cpu_counters* next_cpu_counters(int* cpu)
{
    const std::lock_guard held(records_lock);
    return static_cast<size_t>(++*cpu) < records().size() ? records()[static_cast<size_t>(*cpu)]
                                                          : nullptr;
}
