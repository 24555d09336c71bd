// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/learn.h"

#include <algorithm>
#include <bit>

#include "include/me_class_id.h"
#include "tool/model/omci_attributes.h"
#include "tool/omci/scheduling_facts.h"
#include "tool/omci/tagging_text.h"

namespace gponflow::omci {

namespace {

constexpr size_t upload_header_bytes = 6; // class, instance, mask

// A get response: result, mask, values; then, or in the extended set before the values, the masks
// of attributes that are unsupported or failed.
constexpr size_t get_header_bytes = 3;
constexpr size_t extended_get_header_bytes = 7;
constexpr size_t get_value_bytes = 25;

enum class source { upload, get };

void count_unmirrored(report_destination to, me_class class_id, uint16_t instance, uint16_t mask)
{
    upload_count& count = to.uploads.unmirrored[class_id];
    count.instances.insert(instance);
    count.attributes += static_cast<size_t>(std::popcount(mask));
}

// A get returns the size of the table, which is read with get next.
std::string begin_table(report_destination to, uint16_t instance, const value_list& list)
{
    const auto found =
        std::ranges::find(list.values, attribute_index::tagging_table, &attribute_value::index);
    if (found == list.values.end())
        return {};
    const uint32_t size = read_u32(found->bytes, 0);
    if (size == 0)
        return to.store.learn_table(instance, {}, to.from);
    to.tables.begin(instance, size);
    return {};
}

std::string learn_values(report_destination to, source from, me_class class_id, uint16_t instance,
                         uint16_t mask, std::span<const uint8_t> bytes)
{
    if (from == source::upload && find_attribute_class(class_id) == nullptr)
        count_unmirrored(to, class_id, instance, mask);
    to.onu.learn(class_id, instance, mask, bytes);
    const attribute_class* cls =
        class_id == onu_g_class().id ? &onu_g_class() : find_attribute_class(class_id);
    if (cls == nullptr)
        return {};
    const value_list list = split_values(
        *cls, mask, bytes, from == source::get ? table_values::sizes : table_values::rows);
    if (!list.fault.empty())
        return {};
    to.defaults.learn(class_id, instance, list);
    learn_scheduling(to.queues, class_id, instance, list);
    if (from == source::upload)
        return to.store.learn_upload(*cls, instance, list, to.from);
    std::string lines = to.store.learn(*cls, instance, list, to.from);
    if (class_id == me_class::evtocd)
        lines += begin_table(to, instance, list);
    return lines;
}

std::string learn_instance(report_destination to, std::span<const uint8_t> header,
                           std::span<const uint8_t> values)
{
    return learn_values(to, source::upload, gpon::to_me_class(read_u16(header, 0)),
                        read_u16(header, 2), read_u16(header, 4), values);
}

// The extended set packs several instances into a message, each behind the size of its values.
std::string learn_extended_upload(report_destination to, std::span<const uint8_t> content)
{
    constexpr size_t size_bytes = 2;
    std::string lines;
    while (content.size() >= size_bytes + upload_header_bytes) {
        const size_t size = read_u16(content, 0);
        content = content.subspan(size_bytes);
        if (content.size() - upload_header_bytes < size)
            break;
        lines += learn_instance(to, content, content.subspan(upload_header_bytes, size));
        content = content.subspan(upload_header_bytes + size);
    }
    return lines;
}

std::string learn_upload(report_destination to, const message& response)
{
    ++to.uploads.parts;
    if (response.extended)
        return learn_extended_upload(to, response.content);
    return learn_instance(to, response.content, response.content.subspan(upload_header_bytes));
}

std::string learn_get(report_destination to, const message& response)
{
    const auto content = response.content;
    const size_t header = response.extended ? extended_get_header_bytes : get_header_bytes;
    if (result_code(response) != 0 || content.size() < header)
        return {};
    const auto values =
        response.extended ? content.subspan(header) : content.subspan(header, get_value_bytes);
    return learn_values(to, source::get, response.class_id, response.instance, read_u16(content, 1),
                        values);
}

} // namespace

std::string learn_from_response(report_destination to)
{
    const exchange& item = to.from;
    if (!item.response)
        return {};
    switch (item.request.msg.type) {
    case mib_upload_next:
        return learn_upload(to, item.response->msg);
    case get:
        return learn_get(to, item.response->msg);
    case get_next:
        if (const auto table = to.tables.take(item))
            return to.store.learn_table(item.request.msg.instance, *table, item);
        return {};
    default:
        return {};
    }
}

} // namespace gponflow::omci
