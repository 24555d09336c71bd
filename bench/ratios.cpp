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
#include <thread>
#include <vector>

#include "bench/cases.h"
#include "bench/clock.h"
#include "bench/keys.h"
#include "bench/line.h"
#include "bench/threads.h"
#include "hash/aging.h"
#include "hash/rule_table.h"

namespace gpon::bench {
namespace {

unsigned rounds = 15;
const case_list cases = all_cases();

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

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

/* CPU time of one operation on the calling thread. */
double nanoseconds_on_a_thread(work& made, int number)
{
    thread_number = number;
    made.pass();
    constexpr unsigned passes = 20000;
    const uint64_t start = thread_nanoseconds();
    for (unsigned i = 0; i < passes; ++i)
        made.pass();
    const uint64_t passed = thread_nanoseconds() - start;
    return static_cast<double>(passed) / passes / made.operations();
}

/* How many times the frames of one thread two threads handle in the same CPU time of each. */
double gain_of_two_threads(const std::string& name)
{
    std::vector<double> gains;
    for (unsigned round = 0; round < rounds; ++round) {
        const auto made = find_case(cases, name).make();
        const double alone = nanoseconds_on_a_thread(*made, 0);
        double both[2] = {};
        std::thread other([&] { both[1] = nanoseconds_on_a_thread(*made, 1); });
        both[0] = nanoseconds_on_a_thread(*made, 0);
        other.join();
        gains.push_back(alone / both[0] + alone / both[1]);
    }
    return median(gains);
}

json measure_all()
{
    json ratios, all;
    add_table_ratios(ratios, all);
    add_walk_ratios(ratios, all);
    ratios["known-frame-two-threads"] = gain_of_two_threads("hook/known/up_ani/8_services");
    ratios["rule-bytes"] = bytes_of_a_rule();
    const std::vector<std::string> beside = {"flood/new_source_per_frame", "rule/dump/768_rules"};
    all.update(json(measure(beside)));
    all["longest lock hold"] = longest_lock_hold();
    json kept;
    for (const unsigned flows : {64u, 256u, 768u})
        kept[std::to_string(flows)] = rules_kept_of(flows);
    return {{"ratios", ratios}, {"nanoseconds", all}, {"rules_kept", kept}};
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
