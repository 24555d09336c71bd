// SPDX-License-Identifier: GPL-2.0-only
/* Runs the cases as benchmarks and reports their allocations. */
#include <benchmark/benchmark.h>

#include <cstdio>

#include "bench/cases.h"
#include "bench/clock.h"
#include "bench/threads.h"
#include "platform/host/host.h"

namespace gpon::bench {
namespace {

using host::memory_use;

void count_memory(benchmark::State& state, uint64_t allocations, uint64_t bytes, uint64_t done)
{
    const auto a_call = [=](uint64_t total) {
        return done ? static_cast<double>(total) / static_cast<double>(done) : 0;
    };
    state.counters["allocs"] = a_call(allocations);
    state.counters["bytes"] = a_call(bytes);
}

void count_time(benchmark::State& state, uint64_t done)
{
    state.SetItemsProcessed(static_cast<int64_t>(done));
    state.counters["each"] = benchmark::Counter(
        static_cast<double>(done), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void run_in_one_go(benchmark::State& state, const bench_case& which)
{
    const auto made = which.make();
    made->pass();
    const memory_use before = host::memory();
    for (auto _ : state)
        made->pass();
    const memory_use after = host::memory();
    const uint64_t done = static_cast<uint64_t>(state.iterations()) * made->operations();
    count_time(state, done);
    if (!which.resets)
        count_memory(state, after.allocations - before.allocations,
                     after.allocated_bytes - before.allocated_bytes, done);
}

void run_pass_by_pass(benchmark::State& state, const bench_case& which)
{
    const auto made = which.make();
    uint64_t allocations = 0;
    uint64_t bytes = 0;
    for (auto _ : state) {
        made->prepare();
        const memory_use before = host::memory();
        const uint64_t start = thread_nanoseconds();
        made->pass();
        const uint64_t end = thread_nanoseconds();
        const memory_use after = host::memory();
        state.SetIterationTime(static_cast<double>(nanoseconds_between(start, end)) * 1e-9);
        allocations += after.allocations - before.allocations;
        bytes += after.allocated_bytes - before.allocated_bytes;
    }
    const uint64_t done = static_cast<uint64_t>(state.iterations()) * made->operations();
    count_time(state, done);
    count_memory(state, allocations, bytes, done);
}

// The first thread creates the shared data; the start and the end of the loop are barriers.
void run_in_threads(benchmark::State& state, const bench_case& which)
{
    static std::unique_ptr<work> shared;
    thread_number = state.thread_index();
    if (thread_number == 0)
        shared = which.make();
    uint64_t done = 0;
    uint64_t start = 0;
    for (auto _ : state) {
        if (done == 0)
            start = thread_nanoseconds();
        shared->pass();
        done += shared->operations();
    }
    // CPU time of one thread for one operation; the wall clock would include other programs.
    state.counters["cpu_ns"] = benchmark::Counter(
        static_cast<double>(thread_nanoseconds() - start) / static_cast<double>(done),
        benchmark::Counter::kAvgThreads);
    if (thread_number == 0)
        shared.reset();
}

void enlist(const bench_case& which)
{
    const auto plain = [which](benchmark::State& state) {
        if (which.prepares)
            run_pass_by_pass(state, which);
        else
            run_in_one_go(state, which);
    };
    auto* listed = benchmark::RegisterBenchmark(which.name.c_str(), plain);
    if (which.prepares)
        listed->UseManualTime();
    if (which.parallel)
        benchmark::RegisterBenchmark(
            which.name.c_str(), [which](benchmark::State& state) { run_in_threads(state, which); })
            ->Threads(2)
            ->UseRealTime();
}

} // namespace
} // namespace gpon::bench

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
#ifndef GPON_BENCH_DPDK
    std::fprintf(stderr, "built without libdpdk: no benchmarks of rte_hash\n");
#endif
    for (const auto& which : gpon::bench::all_cases())
        gpon::bench::enlist(which);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
