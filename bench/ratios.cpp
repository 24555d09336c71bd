// SPDX-License-Identifier: GPL-2.0-only
/*
 * The figures for the targets. Compared cases run in turns, one pass of each, so that the load of
 * the machine affects all of them. A figure is the median of its passes. Writes JSON to standard
 * output. The argument is the number of rounds.
 */
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "base/bytes.h"
#include "bench/cases.h"
#include "bench/clock.h"
#include "bench/keys.h"
#include "bench/line.h"
#include "bench/median.h"
#include "bench/two_threads.h"
#include "bench/under_flood.h"
#include "hash/aging.h"
#include "hash/outcome_table.h"
#include "hash/rule_table.h"

namespace gpon::bench {
namespace {

unsigned rounds = 15;
const case_list cases = all_cases();

double nanoseconds_of_pass(work& made)
{
    made.prepare();
    const uint64_t start = thread_nanoseconds();
    made.pass();
    const uint64_t end = thread_nanoseconds();
    return static_cast<double>(nanoseconds_between(start, end)) / made.operations();
}

// A process has one module: in each round every case is created, warmed up, timed and destroyed.
constexpr unsigned passes_a_round = 41;

double median_of_passes(const std::string& name)
{
    const auto made = find_case(cases, name).make();
    nanoseconds_of_pass(*made);
    std::vector<double> passes;
    for (unsigned i = 0; i < passes_a_round; ++i)
        passes.push_back(nanoseconds_of_pass(*made));
    return median(passes);
}

using figures = std::map<std::string, double>;

/* Nanoseconds of one operation of each case. */
figures measure(const std::vector<std::string>& names)
{
    std::map<std::string, std::vector<double>> medians;
    for (unsigned round = 0; round < rounds; ++round)
        for (const std::string& name : names)
            medians[name].push_back(median_of_passes(name));
    figures result;
    for (const auto& [name, values] : medians)
        result[name] = median(values);
    return result;
}

/* Slope of the line through the points on a log-log scale. */
double exponent(const std::vector<std::pair<double, double>>& points)
{
    double x = 0, y = 0, xx = 0, xy = 0;
    for (const auto& [size, cost] : points) {
        x += std::log(size);
        y += std::log(cost);
        xx += std::log(size) * std::log(size);
        xy += std::log(size) * std::log(cost);
    }
    const double n = static_cast<double>(points.size());
    return (n * xy - x * y) / (n * xx - x * x);
}

/* The longest add of a flood of new keys. The time of each add is its minimum over all rounds,
 * which excludes the load of the machine. */
double longest_lock_hold()
{
    const line loaded(line_shape{0, 0});
    const gpon_rule_trace trace = trace_of_a_walk();
    const std::vector<rule_key> keys = keys_for(3000, 16, 1u << 20);
    std::vector<uint64_t> best(keys.size(), UINT64_MAX);
    // The first round grows the table and does not count.
    for (unsigned round = 0; round <= rounds; ++round) {
        gpon_hash_clean_all_safe();
        if (round == 1)
            std::ranges::fill(best, UINT64_MAX);
        for (size_t i = 0; i < keys.size(); ++i) {
            const uint64_t start = thread_nanoseconds();
            gpon_hash_add_node_safe(keys[i].bytes.data(), keys[i].length, &trace);
            best[i] = std::min(best[i], nanoseconds_between(start, thread_nanoseconds()));
        }
    }
    return static_cast<double>(*std::ranges::max_element(best));
}

/* Bytes requested from the allocator for one rule with the longest key. */
double bytes_of_a_rule()
{
    const line loaded(line_shape{0, 0});
    const rule_key key = {{1}, 32};
    const gpon_rule_trace trace = trace_of_a_walk();
    const auto before = host::memory();
    gpon_hash_add_node_safe(key.bytes.data(), key.length, &trace);
    return static_cast<double>(host::memory().live_bytes - before.live_bytes);
}

/* Number of stored rules after a table of initially 64 buckets has learnt that many flows. */
double rules_kept_of(unsigned flows)
{
    const line loaded(line_shape{0, 0});
    const gpon_rule_trace trace = trace_of_a_walk();
    for (const rule_key& key : keys_for(flows, 16, 1u << 20))
        gpon_hash_add_node_safe(key.bytes.data(), key.length, &trace);
    return gpon_hash_table_record.total_num;
}

using json = nlohmann::ordered_json;

json ratio_of_largest(const figures& found,
                      const std::vector<std::pair<std::string, std::string>>& pairs)
{
    double largest = 0;
    for (const auto& [ours, theirs] : pairs)
        largest = std::max(largest, found.at(ours) / found.at(theirs));
    return largest;
}

void add_table_ratios(json& ratios, json& all)
{
    const std::string hit = "rule/lookup_hit/", theirs = "peer/rte_hash/";
    std::vector<std::string> names;
    for (const std::string bytes : {"16_bytes/", "24_bytes/"}) {
        for (const std::string rules : {"48_rules", "256_rules", "768_rules"})
            names.push_back(hit + bytes + rules);
        names.push_back("rule/learn/" + bytes + "256_rules");
        names.push_back("outcome/find/" + bytes + "256_flows");
#ifdef GPON_BENCH_DPDK
        names.push_back(theirs + "lookup_hit/" + bytes + "256_rules");
        names.push_back(theirs + "learn/" + bytes + "256_rules");
#endif
    }
    const figures found = measure(names);
#ifdef GPON_BENCH_DPDK
    ratios["lookup-vs-rte_hash"] = ratio_of_largest(
        found, {{hit + "16_bytes/256_rules", theirs + "lookup_hit/16_bytes/256_rules"},
                {hit + "24_bytes/256_rules", theirs + "lookup_hit/24_bytes/256_rules"}});
    ratios["known-flow-lookup-vs-rte_hash"] = ratio_of_largest(
        found, {{"outcome/find/16_bytes/256_flows", theirs + "lookup_hit/16_bytes/256_rules"},
                {"outcome/find/24_bytes/256_flows", theirs + "lookup_hit/24_bytes/256_rules"}});
    ratios["learn-vs-rte_hash"] = ratio_of_largest(
        found, {{"rule/learn/16_bytes/256_rules", theirs + "learn/16_bytes/256_rules"},
                {"rule/learn/24_bytes/256_rules", theirs + "learn/24_bytes/256_rules"}});
#endif
    ratios["lookup-768-vs-48"] =
        ratio_of_largest(found, {{hit + "16_bytes/768_rules", hit + "16_bytes/48_rules"},
                                 {hit + "24_bytes/768_rules", hit + "24_bytes/48_rules"}});
    all.update(json(found));
}

void add_walk_ratios(json& ratios, json& all)
{
    const std::string quick = "hook/quick/up_ani/8_services",
                      first = "hook/first/up_ani/8_services";
    figures found = measure({quick, first});
    ratios["walk-vs-quick"] = found.at(first) / found.at(quick);
    all.update(json(found));
    std::vector<std::string> names;
    const std::vector<unsigned> sizes = {8, 16, 32, 64};
    for (const unsigned ports : sizes)
        names.push_back("walk/up_ani/" + std::to_string(ports) + "_ports");
    found = measure(names);
    std::vector<std::pair<double, double>> points;
    for (size_t i = 0; i < sizes.size(); ++i)
        points.emplace_back(sizes[i], found.at(names[i]));
    ratios["walk-exponent"] = exponent(points);
    all.update(json(found));
}

/* Known frames beside others. A void result is null. */
void add_known_frame_ratios(json& ratios)
{
    const bench_case& known = find_case(cases, "hook/known/up_ani/8_services");
    const std::optional<double> gain =
        gain_of_two_threads(known, find_case(cases, "header/summary"), rounds);
    ratios["known-frame-two-threads"] = gain ? json(*gain) : json();
    const flood_figures flooded = known_frame_under_flood(known, rounds);
    ratios["known-frame-under-flood"] = flooded.ratio;
    ratios["known-frame-under-flood-missed"] = flooded.missed;
}

/* The first words of a frame of a station and the router, as the module packs them. */
outcome_key key_of_flow(uint32_t station, uint16_t vlan, uint16_t direction)
{
    constexpr uint8_t router[] = {0x00, 0x1b, 0x21, 0x3c, 0x4d, 0x01};
    const uint8_t host[] = {
        0x3c, 0x6a, 0x9d, uint8_t(station >> 16), uint8_t(station >> 8), uint8_t(station)};
    const bool upstream = direction == UP_UNI || direction == UP_ANI;
    uint8_t bytes[16] = {};
    std::ranges::copy(upstream ? router : host, bytes);
    std::ranges::copy(upstream ? host : router, bytes + 6);
    bytes[12] = 0x81;
    bytes[14] = static_cast<uint8_t>(vlan >> 8);
    bytes[15] = static_cast<uint8_t>(vlan);
    const uint64_t tag = load_unaligned<uint32_t>(bytes + 12);
    return {load_unaligned<uint64_t>(bytes), load_unaligned<uint32_t>(bytes + 8) | tag << 32,
            uint64_t{direction} << 32};
}

/* How many of that many outcomes an empty table keeps. A flow has four, one for each direction. Its
 * stations have consecutive addresses of one vendor, and eight VLANs. */
double outcomes_kept_of(unsigned outcomes)
{
    constexpr uint16_t directions[] = {UP_UNI, UP_ANI, DOWN_ANI, DOWN_UNI};
    constexpr unsigned lines = 200;
    unsigned kept = 0;
    for (unsigned line = 0; line < lines; ++line) {
        std::map<const outcome_set*, unsigned> used;
        for (unsigned i = 0; i < outcomes; ++i) {
            const auto vlan = static_cast<uint16_t>(100 + i / 4 % 8);
            const outcome_key key = key_of_flow(line << 10 | i / 4, vlan, directions[i % 4]);
            kept += ++used[&outcome_set_of(key)] <= OUTCOME_PLACES;
        }
    }
    return static_cast<double>(kept) / lines;
}

json measure_all()
{
    json ratios, all;
    add_table_ratios(ratios, all);
    add_walk_ratios(ratios, all);
    add_known_frame_ratios(ratios);
    ratios["rule-bytes"] = bytes_of_a_rule();
    const std::vector<std::string> beside = {"flood/new_source_per_frame", "rule/dump/768_rules"};
    all.update(json(measure(beside)));
    all["longest lock hold"] = longest_lock_hold();
    json kept;
    for (const unsigned flows : {64u, 256u, 768u})
        kept[std::to_string(flows)] = rules_kept_of(flows);
    json outcomes;
    for (const unsigned number : {64u, 256u, 512u, 1024u})
        outcomes[std::to_string(number)] = outcomes_kept_of(number);
    return {{"ratios", ratios},
            {"nanoseconds", all},
            {"rules_kept", kept},
            {"outcomes_kept", outcomes}};
}

} // namespace
} // namespace gpon::bench

int main(int argc, char** argv)
{
    if (argc > 1)
        gpon::bench::rounds = static_cast<unsigned>(std::max(1, std::atoi(argv[1])));
    std::printf("%s\n", gpon::bench::measure_all().dump(2).c_str());
    return 0;
}
