// SPDX-License-Identifier: GPL-2.0-only
/*
 * The cases with repeatable instruction counts, for callgrind. Each is counted between two client
 * requests and dumped under its name, with the number of operations, and the allocations and bytes
 * of one operation. Arguments are names of cases; without arguments all cases run.
 */
#include <valgrind/callgrind.h>

#include <algorithm>
#include <string>

#include "bench/cases.h"
#include "platform/host/host.h"

namespace {

using gpon::bench::bench_case;

// Allocations and bytes of one operation.
std::string memory_of_pass(gpon::bench::work& made)
{
    made.prepare();
    const auto before = gpon::host::memory();
    made.pass();
    const auto after = gpon::host::memory();
    const auto each = [&](uint64_t total) {
        return std::to_string(static_cast<double>(total) / made.operations());
    };
    return each(after.allocations - before.allocations) + " " +
           each(after.allocated_bytes - before.allocated_bytes);
}

// The first passes fill caches of the allocator and grow tables; then a pass is like any other.
void count(const bench_case& which)
{
    const auto made = which.make();
    for (int warm = 0; warm < 3; ++warm) {
        made->prepare();
        made->pass();
    }
    const std::string label =
        which.name + " " + std::to_string(made->operations()) + " " + memory_of_pass(*made);
    made->prepare();
    CALLGRIND_START_INSTRUMENTATION;
    CALLGRIND_ZERO_STATS;
    made->pass();
    CALLGRIND_DUMP_STATS_AT(label.c_str());
    CALLGRIND_STOP_INSTRUMENTATION;
}

} // namespace

int main(int argc, char** argv)
{
    for (const bench_case& which : gpon::bench::all_cases()) {
        const bool named = std::any_of(argv + 1, argv + argc,
                                       [&](const char* name) { return which.name == name; });
        if (which.counted && (argc == 1 || named))
            count(which);
    }
    return 0;
}
