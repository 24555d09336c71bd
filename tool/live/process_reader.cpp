// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/process_reader.h"

#include <array>
#include <utility>

#include "platform/host/host.h"

namespace gponflow {

namespace {

class process_reader final : public module_reader {
public:
    std::vector<counter_value> counters() override
    {
        std::vector<counter_value> result;
        for (const gpon::host::counter& one : gpon::host::counters())
            result.push_back({std::string(one.name), std::string(one.meaning), one.value});
        return result;
    }

    engine_state state() override
    {
        gpon_seen_state seen{};
        gpon_observe_state(&seen);
        return {seen.engine != 0, seen.rules, seen.buckets, seen.threshold, seen.store};
    }

    std::vector<seen_rule> rules() override
    {
        std::vector<seen_rule> result;
        std::array<gpon_seen_rule, 16> some;
        GPON_COUNTER_WORD revision = 0;
        for (unsigned bucket = 0; bucket != GPON_SEEN_ALL;) {
            const unsigned count = gpon_observe_rules(&bucket, some.data(), some.size(), &revision);
            for (unsigned i = 0; i < count; ++i)
                result.push_back(rule_of(some.at(i)));
        }
        return result;
    }

    std::vector<dumped_instance> instances() override
    {
        std::vector<dumped_instance> result;
        const auto seen = std::make_unique<gpon_seen_instance>();
        GPON_COUNTER_WORD revision = 0;
        unsigned class_row = 0;
        unsigned position = 0;
        while (gpon_observe_instance(&class_row, &position, seen.get(), &revision))
            result.push_back(instance_of(*seen));
        return result;
    }
};

} // namespace

std::unique_ptr<module_reader> make_process_reader()
{
    return std::make_unique<process_reader>();
}

process_changes::process_changes(change_sink sink)
{
    gpon::host::set_observer(
        [sink = std::move(sink), number = uint32_t{0}](const gpon_event& event) mutable {
            sink(change_of(event, ++number));
        });
}

process_changes::~process_changes()
{
    gpon::host::set_observer(nullptr);
}

} // namespace gponflow
