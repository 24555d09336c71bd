// SPDX-License-Identifier: GPL-2.0-only
#include "bench/under_flood.h"

#include "bench/clock.h"
#include "bench/line.h"
#include "bench/median.h"

namespace gpon::bench {
namespace {

// Some hundred sweeps of the full table.
constexpr unsigned passes_a_round = 10000;

class flood {
public:
    void send(unsigned frames)
    {
        for (unsigned i = 0; i < frames; ++i) {
            frame_.set_source(++station_);
            keep(host::hook(GPON_API_UP_UNI, 0, &frame_.packet));
        }
    }

private:
    frame frame_{vlan_of(0)};
    uint32_t station_ = 1u << 16;
};

/* The average of all passes: most of the cost is in few frames. */
double nanoseconds_after(work& known, flood& other, unsigned frames)
{
    uint64_t passed = 0;
    for (unsigned i = 0; i < passes_a_round; ++i) {
        other.send(frames);
        const uint64_t start = thread_nanoseconds();
        known.pass();
        passed += nanoseconds_between(start, thread_nanoseconds());
    }
    return static_cast<double>(passed) / passes_a_round / known.operations();
}

double remembered_frames()
{
    return static_cast<double>(host::counter_value("remembered_up_ani"));
}

} // namespace

flood_figures known_frame_under_flood(const bench_case& which, unsigned rounds)
{
    std::vector<double> ratios, missed;
    for (unsigned round = 0; round < rounds; ++round) {
        const auto known = which.make();
        flood other;
        const double alone = nanoseconds_after(*known, other, 0);
        const double before = remembered_frames();
        ratios.push_back(nanoseconds_after(*known, other, known->operations()) / alone);
        const double frames = passes_a_round * known->operations();
        missed.push_back(1 - (remembered_frames() - before) / frames);
    }
    return {median(ratios), median(missed)};
}

} // namespace gpon::bench
