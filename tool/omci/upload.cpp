// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/upload.h"

#include <algorithm>

#include "include/me_class_id.h"
#include "include/uapi/gpon_flow.h"
#include "tool/model/class_records.h"
#include "tool/model/scheduling.h"
#include "tool/omci/scenario_text.h"

namespace gponflow::omci {

namespace {

// A link to an instance of such a class creates it, with values of the default configuration. The
// OLT writes attributes of T-CONTs only: it assigns their alloc-IDs.
bool is_created_by_commands(const class_record& fields)
{
    return !fields.created_by_links || fields.id == me_class::tcont;
}

bool has_links_from(const class_record& fields, me_class class_id)
{
    return std::ranges::find(fields.links, class_id, &recordable_links::class_id) !=
           fields.links.end();
}

// Behind the classes that record its instances. A class that records itself is its own target.
void add_in_order(const class_record& fields, std::vector<const class_record*>& order,
                  std::set<me_class>& visited)
{
    if (!visited.insert(fields.id).second)
        return;
    for (const class_record& target : me_classes())
        if (has_links_from(target, fields.id))
            add_in_order(target, order, visited);
    if (is_created_by_commands(fields))
        order.push_back(&fields);
}

bool is_pending(const record& rec)
{
    return rec.uploaded && !rec.written;
}

bool is_assigned(const record& rec)
{
    gpon_raw_tcont tcont{};
    std::copy_n(rec.raw.begin(), std::min(sizeof(tcont), rec.raw.size()),
                reinterpret_cast<uint8_t*>(&tcont));
    const bool reported = (rec.reported & attribute_bit(0)) != 0;
    return reported && is_assigned_alloc_id(tcont.allocID);
}

// Read-only attributes are no part of a create.
uint16_t mirrored_mask(const attribute_class& cls, uint16_t reported)
{
    uint16_t mask = set_by_create_mask(cls);
    for (size_t i = 0; i < cls.attributes.size(); ++i)
        if (cls.attributes[i].is_stored())
            mask = static_cast<uint16_t>(mask | (attribute_bit(i) & reported));
    return mask;
}

std::string line_of(const class_record& fields, const attribute_class& cls, uint16_t instance,
                    const record& rec)
{
    const bool made_by_onu = cls.id == me_class::tcont;
    const uint16_t mask = mirrored_mask(cls, rec.reported);
    return me_line(made_by_onu ? "set" : "create", fields, cls, instance, mask, rec) + "\n";
}

bool belongs_to_the_line(me_class class_id, const record& rec)
{
    return class_id != me_class::tcont || is_assigned(rec);
}

// Returns the commands for the pending instances of a class, and marks these as written.
std::string lines_of_class(const class_record& fields, record_store& store, size_t& written)
{
    const attribute_class* cls = find_attribute_class(fields.id);
    std::string text;
    for (auto& [id, rec] : store.all())
        if (cls && id.first == fields.id && is_pending(rec) &&
            belongs_to_the_line(fields.id, rec)) {
            text += comment_line(rec.uploaded_in.text + ": " + class_title(id.first) + " " +
                                 hex_text(id.second, 4)) +
                    line_of(fields, *cls, id.second, rec) + rec.tagging;
            rec.written = true;
            ++written;
        }
    return text;
}

} // namespace

void upload_tracker::begin(std::optional<uint16_t> announced)
{
    announced_ = announced;
    numbers_.clear();
    contents_.clear();
}

void upload_tracker::part(uint16_t number, std::span<const uint8_t> content)
{
    numbers_.insert(number);
    contents_.emplace(content.begin(), content.end());
}

size_t upload_tracker::missing() const
{
    const size_t seen = std::max(numbers_.size(), contents_.size());
    const size_t last = numbers_.empty() ? 0 : *numbers_.rbegin() + size_t{1};
    const size_t expected = announced_.value_or(last);
    return expected - std::min(expected, seen);
}

std::vector<const class_record*> creation_order()
{
    std::vector<const class_record*> order;
    std::set<me_class> visited;
    for (const class_record& fields : me_classes())
        add_in_order(fields, order, visited);
    return order;
}

std::string upload_lines(record_store& store, upload_summary& counts)
{
    std::string text;
    for (const class_record* fields : creation_order())
        text += lines_of_class(*fields, store, counts.written);
    for (auto& [id, rec] : store.all())
        if (is_pending(rec)) {
            ++counts.left_to_the_module[id.first];
            rec.written = true;
        }
    return text;
}

} // namespace gponflow::omci
