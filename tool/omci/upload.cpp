// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/upload.h"

#include <algorithm>
#include <array>
#include <bit>

#include "include/me_class_id.h"
#include "include/uapi/gpon_flow.h"
#include "tool/omci/scenario_text.h"

namespace gponflow::omci {

namespace {

// A pointer is recorded only if its target exists.
constexpr std::array<uint16_t, 11> creation_order = {
    me_class::tcont,      me_class::td,     me_class::gemctp, me_class::gemiw,
    me_class::multigemiw, me_class::mapper, me_class::mbsp,   me_class::mbpcd,
    me_class::vtfd,       me_class::vtocd,  me_class::evtocd};

// Values of a T-CONT that the OLT has not assigned (G.988 9.2.2).
bool is_assigned(const record& rec)
{
    gpon_raw_tcont tcont{};
    std::copy_n(rec.raw.begin(), std::min(sizeof(tcont), rec.raw.size()),
                reinterpret_cast<uint8_t*>(&tcont));
    const bool reported = (rec.reported & attribute_bit(0)) != 0;
    return reported && tcont.allocID != 0xffff && tcont.allocID != 0x00ff;
}

// Read-only attributes are no part of a create.
uint16_t mirrored_mask(const attribute_class& cls, uint16_t reported)
{
    uint16_t mask = set_by_create_mask(cls);
    for (size_t i = 0; i < cls.attributes.size(); ++i)
        if (!cls.attributes[i].field.empty())
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

bool belongs_to_the_line(uint16_t class_id, const record& rec)
{
    if (std::ranges::find(creation_order, class_id) == creation_order.end())
        return false;
    return class_id != me_class::tcont || is_assigned(rec);
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

std::string upload_lines(record_store& store, upload_summary& counts)
{
    std::string text;
    const auto is_pending = [](const record& rec) { return rec.uploaded && !rec.written; };
    for (const uint16_t class_id : creation_order) {
        const attribute_class* cls = find_attribute_class(class_id);
        const class_record* fields = find_me_class(class_id);
        for (auto& [id, rec] : store.all())
            if (id.first == class_id && cls && fields && is_pending(rec) &&
                belongs_to_the_line(class_id, rec)) {
                text += line_of(*fields, *cls, id.second, rec) + rec.tagging;
                rec.written = true;
                ++counts.written;
            }
    }
    for (auto& [id, rec] : store.all())
        if (is_pending(rec)) {
            ++counts.left_to_the_module[id.first];
            rec.written = true;
        }
    return text;
}

} // namespace gponflow::omci
