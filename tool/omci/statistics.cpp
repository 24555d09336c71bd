// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/statistics.h"

#include <algorithm>

#include "tool/model/class_records.h"
#include "tool/omci/scenario_text.h"
#include "tool/text/text_table.h"

namespace gponflow::omci {

namespace {

remark remark_of(const exchange& item, const std::string& more)
{
    const message& msg = item.request.msg;
    return {item.request.frame, type_name(msg.type) + " " + class_title(msg.class_id) + " " +
                                    hex_text(msg.instance, 4) + more};
}

struct timed_exchange {
    uint64_t nanoseconds;
    const exchange* item;
};

// A response that the capture dates before its request has no time.
std::vector<timed_exchange> times_of(const pairing& pairs)
{
    std::vector<timed_exchange> times;
    for (const exchange& item : pairs.exchanges)
        if (item.response && item.request.time != 0 && item.response->time >= item.request.time)
            times.push_back({item.response->time - item.request.time, &item});
    std::ranges::sort(times, {}, &timed_exchange::nanoseconds);
    return times;
}

} // namespace

response_statistics statistics_of(const pairing& pairs)
{
    response_statistics result;
    result.requests = pairs.exchanges.size();
    for (const exchange& item : pairs.exchanges) {
        result.answered += item.response.has_value();
        if (!item.repeats.empty())
            result.repeated.push_back(
                remark_of(item, ", repeated " + counted(item.repeats.size(), "time")));
        if (item.response)
            continue;
        if (item.request.msg.acknowledge_requested)
            result.unanswered.push_back(remark_of(item, ""));
        else
            ++result.unrequested;
    }
    if (const std::vector<timed_exchange> times = times_of(pairs); !times.empty()) {
        result.median = times[times.size() / 2].nanoseconds;
        result.longest = times.back().nanoseconds;
        result.slowest = remark_of(*times.back().item, "");
    }
    return result;
}

} // namespace gponflow::omci
