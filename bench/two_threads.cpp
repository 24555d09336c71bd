// SPDX-License-Identifier: GPL-2.0-only
#include "bench/two_threads.h"

#include <atomic>
#include <barrier>
#include <functional>
#include <thread>

#include "bench/clock.h"
#include "bench/median.h"
#include "bench/threads.h"

namespace gpon::bench {
namespace {

/* The threads alternate between short slices alone and slices together, so that the load and the
 * clock frequency of the machine affect both. */
constexpr unsigned slices_a_round = 20;
constexpr unsigned passes_a_slice = 2000;

/* Of two equal threads; a larger gain than 2 is noise, a much larger one is an error. */
constexpr double largest_gain = 2.05;

/* CPU time of one operation on the calling thread. */
double nanoseconds_of_slice(work& made)
{
    const uint64_t start = thread_nanoseconds();
    for (unsigned i = 0; i < passes_a_slice; ++i)
        made.pass();
    return static_cast<double>(thread_nanoseconds() - start) / passes_a_slice / made.operations();
}

/* Runs the body on another thread while this one measures slices. Both begin at the same time, and
 * the body ends when it is asked for. */
double slice_beside(work& made, const std::function<void(const std::atomic<bool>&)>& body)
{
    std::barrier start(2);
    std::atomic<bool> done = false;
    std::thread other([&] {
        thread_number = 1;
        start.arrive_and_wait();
        body(done);
    });
    start.arrive_and_wait();
    const double slice = nanoseconds_of_slice(made);
    done = true;
    other.join();
    return slice;
}

} // namespace

std::optional<double> gain_of_two_threads(const bench_case& which, unsigned rounds)
{
    std::vector<double> alone, together;
    for (unsigned round = 0; round < rounds; ++round) {
        const auto made = which.make();
        made->pass();
        for (unsigned slice = 0; slice < slices_a_round; ++slice) {
            alone.push_back(nanoseconds_of_slice(*made));
            together.push_back(slice_beside(*made, [&](const std::atomic<bool>& done) {
                while (!done.load(std::memory_order_relaxed))
                    made->pass();
            }));
        }
    }
    const double gain = 2 * median(alone) / median(together);
    if (gain > largest_gain)
        return {};
    return gain;
}

} // namespace gpon::bench
