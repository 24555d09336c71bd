// SPDX-License-Identifier: GPL-2.0-only
#include "bench/cases.h"
#include "bench/line.h"
#include "hash/aging.h"
#include "hash/dump.h"
#include "hash/rule_table.h"

namespace gpon::bench {
namespace {

/* A host that uses a new source address for each frame: every frame is walked and learnt, and the
 * table, at its largest size, is swept whenever it is full. */
class flood final : public work {
public:
    void pass() override
    {
        for (unsigned i = 0; i < operations(); ++i) {
            frame_.set_source(++station_);
            keep(host::hook(GPON_API_UP_UNI, 0, &frame_.packet));
        }
    }
    // Several times the size of the table, so that every pass includes sweeps.
    uint32_t operations() const override { return 8 * GPON_HASH_MAX_SIZE; }

private:
    line line_{line_shape{1, 8}};
    frame frame_{vlan_of(0)};
    uint32_t station_ = 0;
};

/* The dump of a full table, with every line formatted; bottom halves are disabled during it. */
class dump final : public work {
public:
    dump()
    {
        for (uint32_t station = 1; gpon_hash_table_record.total_num < 768; ++station) {
            frame_.set_source(station);
            host::hook(GPON_API_UP_UNI, 0, &frame_.packet);
        }
        host::set_sink([](const host::event& event) { keep(event); });
    }
    ~dump() override { host::set_sink(nullptr); }

    void pass() override { gpon_hash_dump_all_safe(); }

private:
    line line_{line_shape{1, 8}};
    frame frame_{vlan_of(0)};
};

} // namespace

void add_flood_cases(case_list& cases)
{
    cases.push_back(make_case<flood>("flood/new_source_per_frame"));
    cases.push_back(make_case<dump>("rule/dump/768_rules"));
}

} // namespace gpon::bench
