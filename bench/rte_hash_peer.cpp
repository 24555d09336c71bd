// SPDX-License-Identifier: GPL-2.0-only
/*
 * DPDK's hash table with the CRC instruction, one writer and no lock: its fastest configuration,
 * for one thread only. The value is an index into an array.
 */
#include <rte_eal.h>
#include <rte_hash.h>
#include <rte_hash_crc.h>
#include <sched.h>

#include <array>

#include "bench/peer.h"

namespace gpon::bench {
namespace {

// Once per process, without huge pages or devices. EAL binds the thread to one CPU; this is undone
// for the other benchmarks.
void start_eal()
{
    static const bool started = [] {
        cpu_set_t before;
        sched_getaffinity(0, sizeof(before), &before);
        const char* words[] = {"bench", "--no-huge", "--no-shconf",    "-m",
                               "64",    "--no-pci",  "--no-telemetry", "--log-level=error"};
        const int ret = rte_eal_init(static_cast<int>(std::size(words)), const_cast<char**>(words));
        sched_setaffinity(0, sizeof(before), &before);
        return ret >= 0;
    }();
    if (!started)
        throw std::runtime_error("DPDK does not start");
}

/* With values it does the same as the rule table; without, only the two library calls. */
template <bool with_values> class rte_table {
public:
    explicit rte_table(uint16_t length)
    {
        start_eal();
        rte_hash_parameters parameters = {};
        parameters.name = "rules";
        parameters.entries = 1024;
        parameters.key_len = length;
        parameters.hash_func = rte_hash_crc;
        table_ = rte_hash_create(&parameters);
        if (!table_)
            throw std::runtime_error("rte_hash_create fails");
    }
    ~rte_table() { rte_hash_free(table_); }
    rte_table(const rte_table&) = delete;
    rte_table& operator=(const rte_table&) = delete;

    bool add(const rule_key& key, const gpon_rule_trace& trace)
    {
        const int at = rte_hash_add_key(table_, key.bytes.data());
        if (with_values && at >= 0)
            traces_[static_cast<size_t>(at)] = trace;
        return at >= 0;
    }

    bool find(const rule_key& key, gpon_rule_trace* out)
    {
        const int at = rte_hash_lookup(table_, key.bytes.data());
        if (with_values && at >= 0)
            *out = traces_[static_cast<size_t>(at)];
        return at >= 0;
    }

    void clear() { rte_hash_reset(table_); }

private:
    rte_hash* table_ = nullptr;
    std::array<gpon_rule_trace, 2048> traces_;
};

} // namespace

void add_rte_hash_cases(case_list& cases)
{
    add_peer_cases<rte_table<false>>(cases, "peer/rte_hash");
    add_peer_cases<rte_table<true>>(cases, "peer/rte_hash_with_values");
}

} // namespace gpon::bench
