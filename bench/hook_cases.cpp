// SPDX-License-Identifier: GPL-2.0-only
#include <set>
#include <stdexcept>

#include "bench/cases.h"
#include "bench/line.h"
#include "bench/threads.h"
#include "hash/crc32.h"
#include "hash/rule_table.h"
#include "pkt/header.h"
#include "pkt/rule.h"

namespace gpon::bench {
namespace {

struct direction {
    const char* name;
    uint32_t api_type;
    uint16_t flag;
};

const direction directions[] = {
    {"up_uni", GPON_API_UP_UNI, UP_UNI},
    {"up_ani", GPON_API_UP_ANI, UP_ANI},
    {"down_ani", GPON_API_DOWN_ANI, DOWN_ANI},
    {"down_uni", GPON_API_DOWN_UNI, DOWN_UNI},
};

uint32_t hash_of(const frame& sent, uint16_t flag)
{
    gpon_pkt_info info;
    uint8_t key[GPON_RULE_KEY_BUFFER];
    uint16_t length = 0;
    static_cast<void>(gpon_pkt_form_info(&sent.packet, &info));
    gpon_rule_generate_key(&info, flag, key, &length);
    return gpon_hash_calc_key(key, length);
}

/* A frame of each service, from stations whose rules do not share a bucket: neither in the smallest
 * table before it grows, nor all of them in a table of twice the size. */
std::vector<std::unique_ptr<frame>> frames_of(const line_shape& shape, uint16_t flag)
{
    constexpr uint32_t buckets = GPON_HASH_MIN_SIZE;
    constexpr unsigned before_growth = buckets * 3 / 4;
    std::vector<std::unique_ptr<frame>> frames;
    std::set<uint32_t> taken;
    for (unsigned service = 0; service < shape.all(); ++service) {
        const bool grown = service >= before_growth;
        if (service == before_growth) {
            taken.clear();
            for (const auto& before : frames)
                taken.insert(hash_of(*before, flag) & (2 * buckets - 1));
        }
        const uint32_t mask = (grown ? 2 * buckets : buckets) - 1;
        auto made = std::make_unique<frame>(vlan_of(service));
        made->packet.gemport_id = gem_port_of(service);
        for (uint32_t station = 1; !taken.insert(hash_of(*made, flag) & mask).second; ++station)
            made->set_source(station);
        frames.push_back(std::move(made));
    }
    return frames;
}

/* Whole hook calls, with the frames of all services in turn. */
class hook_calls : public work {
public:
    hook_calls(direction dir, unsigned services, bool remembered)
        : dir_(dir), line_(line_shape{1, services})
    {
        // Without remembered outcomes each frame replays its rule.
        host::set_remembered_outcomes(remembered);
        for (auto& frames : frames_)
            frames = frames_of(line_.shape, dir.flag);
        // The first round may grow the table; rules that collide before that are dropped.
        for (int round = 0; round < 3; ++round)
            pass();
        if (gpon_hash_table_record.total_num != services)
            throw std::runtime_error("not every service has its rule");
    }

    ~hook_calls() override { host::set_remembered_outcomes(true); }

    void pass() override
    {
        for (const auto& sent : frames_[thread_number]) {
            const auto returned = host::hook(dir_.api_type, 0, &sent->packet);
            if (returned->api_result != 0)
                throw std::runtime_error("a frame was refused");
        }
    }
    uint32_t operations() const override { return static_cast<uint32_t>(frames_[0].size()); }

private:
    const direction dir_;
    line line_;
    // Each CPU has its own packets.
    std::vector<std::unique_ptr<frame>> frames_[2];
};

class first_frames final : public hook_calls {
public:
    using hook_calls::hook_calls;
    void prepare() override { gpon_hash_clean_all_safe(); }
};

} // namespace

void add_hook_cases(case_list& cases)
{
    for (const direction& dir : directions)
        for (const unsigned services : {1u, 8u, 64u}) {
            const std::string variant =
                std::string(dir.name) + "/" + std::to_string(services) + "_services";
            for (const bool remembered : {false, true}) {
                const std::string kind = remembered ? "hook/known/" : "hook/quick/";
                cases.push_back(make_case<hook_calls>(kind + variant, dir, services, remembered));
                cases.back().parallel = true;
            }
            cases.push_back(make_case<first_frames>("hook/first/" + variant, dir, services, true));
            cases.back().prepares = true;
        }
}

} // namespace gpon::bench
