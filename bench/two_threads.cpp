// SPDX-License-Identifier: GPL-2.0-only
#include "bench/two_threads.h"

#include <atomic>
#include <barrier>
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

/* Two virtual processors may share one core, and other machines use the cores too. Threads without
 * common memory show it: a round counts if they gain this much before and after it. */
constexpr double gain_on_free_processors = 1.95;
constexpr unsigned tries_a_round = 40;
constexpr unsigned passes_of_control = 16000;

/* Of two equal threads; a larger gain than 2 is noise, a much larger one is an error. */
constexpr double largest_gain = 2.05;

/* CPU time of one operation on the calling thread. */
double nanoseconds_of_slice(work& made, unsigned passes)
{
    const uint64_t start = thread_nanoseconds();
    for (unsigned i = 0; i < passes; ++i)
        made.pass();
    return static_cast<double>(thread_nanoseconds() - start) / passes / made.operations();
}

/* The same while another thread does other work. Both begin at the same time, and the other thread
 * ends after this one. */
double slice_beside(work& made, work& other_work, unsigned passes)
{
    std::barrier start(2);
    std::atomic<bool> done = false;
    std::thread other([&] {
        thread_number = 1;
        start.arrive_and_wait();
        while (!done.load(std::memory_order_relaxed))
            other_work.pass();
    });
    start.arrive_and_wait();
    const double slice = nanoseconds_of_slice(made, passes);
    done = true;
    other.join();
    return slice;
}

double gain_of_a_round(work& made, work& other_work, unsigned passes)
{
    std::vector<double> alone, together;
    for (unsigned slice = 0; slice < slices_a_round; ++slice) {
        alone.push_back(nanoseconds_of_slice(made, passes));
        together.push_back(slice_beside(made, other_work, passes));
    }
    return 2 * median(alone) / median(together);
}

bool processors_are_free(const bench_case& control)
{
    const auto one = control.make(), other = control.make();
    const double gain = gain_of_a_round(*one, *other, passes_of_control);
    return gain >= gain_on_free_processors && gain <= largest_gain;
}

} // namespace

std::optional<double> gain_of_two_threads(const bench_case& which, const bench_case& control,
                                          unsigned rounds)
{
    std::vector<double> gains;
    for (unsigned i = 0; i < rounds * tries_a_round && gains.size() < rounds; ++i) {
        if (!processors_are_free(control))
            continue;
        const auto made = which.make();
        made->pass();
        const double gain = gain_of_a_round(*made, *made, passes_a_slice);
        if (processors_are_free(control))
            gains.push_back(gain);
    }
    if (gains.size() < rounds || median(gains) > largest_gain)
        return {};
    return median(gains);
}

} // namespace gpon::bench
