/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The measured cases. A case is a small piece of work, prepared once and then repeated. The
 * benchmarks, the ratios and the instruction counts use this list, so their figures refer to the
 * same code.
 */
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace gpon::bench {

/* One piece of work. The constructor builds its data on a reset platform; only one case exists at a
 * time. */
class work {
public:
    work() = default;
    virtual ~work() = default;
    work(const work&) = delete;
    work& operator=(const work&) = delete;

    /* Before each pass, outside of the measurement. */
    virtual void prepare() {}
    /* Measured. */
    virtual void pass() = 0;
    /* Things done in one pass: look-ups, frames, commands. */
    [[nodiscard]] virtual uint32_t operations() const { return 1; }
};

struct bench_case {
    std::string name;
    std::function<std::unique_ptr<work>()> make;
    bool prepares = false; // prepare() is needed: each pass is timed separately
    bool parallel = false; // several threads may call pass() at once
    bool resets = false;   // resets the platform and its memory counters
    bool counted = true;   // takes the same instructions in every run
};
using case_list = std::vector<bench_case>;

[[nodiscard]] case_list all_cases();
[[nodiscard]] const bench_case& find_case(const case_list& cases, const std::string& name);

void add_header_cases(case_list& cases);
void add_rule_cases(case_list& cases);
void add_outcome_cases(case_list& cases);
void add_flood_cases(case_list& cases);
void add_class_cases(case_list& cases);
void add_hook_cases(case_list& cases);
void add_link_query_cases(case_list& cases);
void add_command_cases(case_list& cases);
void add_tool_cases(case_list& cases);
void add_chained_cases(case_list& cases);
void add_lfht_cases(case_list& cases);
void add_rte_hash_cases(case_list& cases);

/* A case of class Work with these constructor arguments. */
template <typename Work, typename... Args>
[[nodiscard]] bench_case make_case(std::string name, Args... args)
{
    return {std::move(name), [=] { return std::make_unique<Work>(args...); }};
}

/* Prevents the compiler from removing work with an unused result. */
template <typename T> inline void keep(T&& value)
{
    asm volatile("" : : "g"(&value) : "memory");
}

} // namespace gpon::bench
