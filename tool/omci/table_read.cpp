// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/table_read.h"

#include "include/me_class_id.h"
#include "tool/model/omci_attributes.h"
#include "tool/tagging/row.h"

namespace gponflow::omci {

namespace {

constexpr size_t head_bytes = 3; // result and attribute mask of a response
constexpr size_t baseline_part_bytes = 29;
constexpr size_t largest_table = 0x10000; // more is a damaged size

bool is_part_of_table(const exchange& item)
{
    const message& asked = item.request.msg;
    if (asked.class_id != me_class::evtocd || !item.response || asked.content.size() < 4)
        return false;
    const message& response = item.response->msg;
    return result_code(response) == 0 && response.content.size() > head_bytes &&
           (read_u16(response.content, 1) & attribute_bit(attribute_index::tagging_table)) != 0;
}

std::span<const uint8_t> values_of(const message& response)
{
    const auto values = response.content.subspan(head_bytes);
    return response.extended ? values : values.first(std::min(values.size(), baseline_part_bytes));
}

// The parts in their order, without gaps.
read_table joined(const std::map<uint16_t, table_part>& parts)
{
    read_table table;
    uint16_t expected = 0;
    for (const auto& [number, part] : parts) {
        if (number != expected++)
            break;
        table.bytes.insert(table.bytes.end(), part.bytes.begin(), part.bytes.end());
        table.frames.resize(table.bytes.size() / tag_row_bytes, part.frames);
    }
    return table;
}

} // namespace

void table_reader::begin(uint16_t instance, uint32_t size)
{
    pending_.erase(instance);
    if (size <= largest_table)
        pending_[instance].size = size;
}

std::optional<read_table> table_reader::take(const exchange& item)
{
    if (!is_part_of_table(item))
        return {};
    const message& asked = item.request.msg;
    const auto found = pending_.find(asked.instance);
    if (found == pending_.end())
        return {};
    const auto values = values_of(item.response->msg);
    found->second.parts[read_u16(asked.content, 2)] = {{values.begin(), values.end()},
                                                       frames_text(item)};
    read_table table = joined(found->second.parts);
    if (table.bytes.size() < found->second.size)
        return {};
    table.bytes.resize(found->second.size);
    pending_.erase(found);
    return table;
}

} // namespace gponflow::omci
