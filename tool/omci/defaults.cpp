// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/defaults.h"

#include <algorithm>

#include "include/me_class_id.h"
#include "tool/model/omci_attributes.h"
#include "tool/model/scheduling.h"
#include "tool/omci/frame.h"
#include "tool/omci/scenario_text.h"
#include "tool/text/class_titles.h"

namespace gponflow::omci {

namespace {

constexpr me_class onu_g = gpon::to_me_class(unstored_class::onu_g);
constexpr size_t traffic_management_option = 3;

constexpr attribute onu_g_attributes[] = {
    {"vendor id", 4, false, {}},
    {"version", 14, false, {}},
    {"serial number", 8, false, {}},
    {"traffic management option", 1, false, {}},
};
constexpr attribute_class onu_g_table{onu_g, onu_g_attributes};

std::span<const uint8_t> find_value(const value_list& list, size_t index)
{
    const auto found = std::ranges::find(list.values, index, &attribute_value::index);
    return found == list.values.end() ? std::span<const uint8_t>{} : found->bytes;
}

} // namespace

const attribute_class& onu_g_class()
{
    return onu_g_table;
}

void default_configuration::learn(me_class class_id, uint16_t instance, const value_list& list)
{
    if (class_id == onu_g) {
        const auto option = find_value(list, traffic_management_option);
        if (!option.empty())
            traffic_option = option[0];
    } else if (class_id == me_class::pq) {
        const auto port = find_value(list, attribute_index::queue_related_port);
        if (!port.empty())
            learn_queue(instance, port);
    }
}

void default_configuration::learn_queue(uint16_t instance, std::span<const uint8_t> related)
{
    const uint32_t port = read_u32(related, 0);
    if (is_upstream_queue(instance))
        least_upstream = std::min(least_upstream.value_or(port), port);
    else
        greatest_downstream = std::max(greatest_downstream, port);
}

std::string default_configuration::line() const
{
    std::string line;
    constexpr uint32_t related_id = 0xffff0000u; // the lower half is the priority
    if (least_upstream && (*least_upstream & related_id) > greatest_downstream)
        line += " related_port_boundary=" + hex_text(*least_upstream & related_id, 8);
    if (traffic_option)
        line += " traffic_mgmt_option=" + std::to_string(*traffic_option);
    return line.empty() ? line : "config" + line;
}

} // namespace gponflow::omci
