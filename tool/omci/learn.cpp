// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/learn.h"

#include <bit>

namespace gponflow::omci {

namespace {

constexpr size_t get_value_bytes = 25;    // of a baseline get response
constexpr size_t upload_header_bytes = 6; // class, instance, mask

struct destination {
    record_store& store;
    default_configuration& defaults;
    upload_summary& uploads;
    onu_facts& onu;
};

enum class source { upload, get };

void count_unmirrored(destination to, uint16_t class_id, uint16_t instance, uint16_t mask)
{
    upload_count& count = to.uploads.unmirrored[class_id];
    count.instances.insert(instance);
    count.attributes += static_cast<size_t>(std::popcount(mask));
}

void learn_values(destination to, source from, uint16_t class_id, uint16_t instance, uint16_t mask,
                  std::span<const uint8_t> bytes)
{
    if (from == source::upload && find_attribute_class(class_id) == nullptr)
        count_unmirrored(to, class_id, instance, mask);
    to.onu.learn(class_id, instance, mask, bytes);
    const attribute_class* cls =
        class_id == onu_g_class().id ? &onu_g_class() : find_attribute_class(class_id);
    if (cls == nullptr)
        return;
    const value_list list = split_values(*cls, mask, bytes);
    if (!list.fault.empty())
        return;
    to.defaults.learn(class_id, instance, list);
    if (from == source::upload)
        to.store.learn_upload(*cls, instance, list);
    else
        to.store.learn(*cls, instance, list);
}

void learn_instance(destination to, std::span<const uint8_t> header,
                    std::span<const uint8_t> values)
{
    learn_values(to, source::upload, read_u16(header, 0), read_u16(header, 2), read_u16(header, 4),
                 values);
}

// The extended set packs several instances into a message, each behind the size of its values.
void learn_extended_upload(destination to, std::span<const uint8_t> content)
{
    constexpr size_t size_bytes = 2;
    while (content.size() >= size_bytes + upload_header_bytes) {
        const size_t size = read_u16(content, 0);
        content = content.subspan(size_bytes);
        if (content.size() - upload_header_bytes < size)
            return;
        learn_instance(to, content, content.subspan(upload_header_bytes, size));
        content = content.subspan(upload_header_bytes + size);
    }
}

void learn_upload(destination to, const message& response)
{
    ++to.uploads.parts;
    if (response.extended)
        learn_extended_upload(to, response.content);
    else
        learn_instance(to, response.content, response.content.subspan(upload_header_bytes));
}

void learn_get(destination to, const message& response)
{
    if (response.extended || result_code(response) != 0)
        return;
    learn_values(to, source::get, response.class_id, response.instance,
                 read_u16(response.content, 1), response.content.subspan(3, get_value_bytes));
}

} // namespace

void learn_from_response(const exchange& item, record_store& store, default_configuration& defaults,
                         upload_summary& uploads, onu_facts& onu)
{
    if (!item.response)
        return;
    const destination to{store, defaults, uploads, onu};
    if (item.request.msg.type == mib_upload_next)
        learn_upload(to, item.response->msg);
    else if (item.request.msg.type == get)
        learn_get(to, item.response->msg);
}

} // namespace gponflow::omci
