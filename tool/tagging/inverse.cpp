// SPDX-License-Identifier: GPL-2.0-only
#include "tool/tagging/inverse.h"

#include <algorithm>

#include "tool/text/ethernet_numbers.h"

namespace gponflow {

namespace {

// A tag of the frame that is looked for, as far as it is known.
struct partial_tag {
    std::optional<uint16_t> tpid;
    std::optional<uint8_t> priority;
    std::optional<bool> dei;
    std::optional<uint16_t> vid;
};

// Whether the field holds the value; an unknown field takes it.
template <typename field> bool agree(std::optional<field>& known, field value)
{
    if (!known)
        known = value;
    return *known == value;
}

class inverter {
public:
    inverter(const tag_row& row, const tag_operation& operation, const std::vector<frame_tag>& sent,
             downstream_match match)
        : row_(row), operation_(operation), sent_(sent), match_(match), found_(tags_of(row))
    {
        for (const row_tag* treatment : {&row.outer, &row.inner})
            if (treatment->priority != add_no_tag)
                added_.push_back(treatment);
    }

    std::optional<std::vector<frame_tag>> run()
    {
        if (row_.remove == discard_frame || !fits_count())
            return {};
        for (size_t i = 0; i < added_.size(); ++i)
            if (!take_added(*added_[i], sent_[i]))
                return {};
        for (size_t i = row_.remove; i < found_.size(); ++i)
            if (!take_kept(found_[i], sent_[added_.size() + i - row_.remove]))
                return {};
        for (size_t i = 0; i < found_.size(); ++i)
            if (!fits_filter(i))
                return {};
        return finished();
    }

private:
    // Tags of the frame that the row decides about; deeper ones are not its business.
    size_t touched() const { return found_.size() - row_.remove + added_.size(); }

    bool fits_count() const
    {
        if (sent_.size() == touched())
            return true;
        return found_.size() == 2 && touched() >= 2 && sent_.size() > touched();
    }

    partial_tag* outer() { return found_.empty() ? nullptr : &found_.front(); }
    partial_tag* inner() { return found_.empty() ? nullptr : &found_.back(); }

    bool take_added(const row_tag& treatment, const frame_tag& tag)
    {
        take_tpid(treatment.tpid, tag);
        return take_vid(treatment, tag) && take_priority(treatment, tag);
    }

    bool take_vid(const row_tag& treatment, const frame_tag& tag)
    {
        if (!match_.vid)
            return true;
        if (treatment.vid <= greatest_vid)
            return treatment.vid == tag.vid;
        partial_tag* from = treatment.vid == copy_inner_vid ? inner() : outer();
        return from ? agree(from->vid, tag.vid) : tag.vid == 0;
    }

    bool take_priority(const row_tag& treatment, const frame_tag& tag)
    {
        if (!match_.priority || treatment.priority == priority_of_dscp)
            return true;
        if (treatment.priority <= greatest_priority)
            return treatment.priority == tag.priority;
        partial_tag* from = treatment.priority == copy_inner_priority ? inner() : outer();
        return from ? agree(from->priority, tag.priority) : tag.priority == 0;
    }

    // Codes 0 and 1 copy TPID and DEI, 2 and 3 the DEI, from the inner or the outer tag.
    void take_tpid(uint8_t code, const frame_tag& tag)
    {
        partial_tag* from = code == 0 || code == 2   ? inner()
                            : code == 1 || code == 3 ? outer()
                                                     : nullptr;
        if (!from)
            return;
        if (code < 2 && !from->tpid)
            from->tpid = tag.tpid;
        if (!from->dei)
            from->dei = tag.dei;
    }

    // A tag that stays, from which an added one may have copied.
    static bool take_kept(partial_tag& to, const frame_tag& tag)
    {
        to.tpid = tag.tpid;
        to.dei = tag.dei;
        return agree(to.vid, tag.vid) && agree(to.priority, tag.priority);
    }

    const row_tag& filter_of(size_t index) const
    {
        return found_.size() == 2 && index == 0 ? row_.filter_outer : row_.filter_inner;
    }

    // Fields that the filter fixes and the frame does not show take the value of the filter.
    bool fits_filter(size_t index)
    {
        const row_tag& filter = filter_of(index);
        partial_tag& tag = found_[index];
        if (filter.priority == default_rule)
            return true;
        if (match_.vid && filter.vid <= greatest_vid && !agree(tag.vid, filter.vid))
            return false;
        if (match_.priority && filter.priority <= greatest_priority &&
            !agree(tag.priority, filter.priority))
            return false;
        if (filter.tpid >= 4 && !tag.tpid)
            tag.tpid = filter.tpid == 4 ? ordinary_tpid : operation_.input_tpid;
        if (filter.tpid >= 6 && !tag.dei)
            tag.dei = filter.tpid == 7;
        return true;
    }

    // The tag of the frame at the place of a removed one, counted from the inside.
    frame_tag through(size_t index) const
    {
        if (sent_.empty())
            return {};
        const size_t from_inside = row_.remove - 1 - std::min<size_t>(index, row_.remove - 1u);
        const size_t last = added_.empty() ? 0 : added_.size() - 1;
        return sent_[last - std::min(from_inside, last)];
    }

    frame_tag complete(size_t index) const
    {
        const partial_tag& tag = found_[index];
        const bool removed = index < row_.remove;
        const frame_tag passed = removed ? through(index) : frame_tag();
        return {tag.tpid.value_or(ordinary_tpid),
                tag.priority.value_or(match_.priority ? 0 : passed.priority),
                tag.dei.value_or(false), tag.vid.value_or(match_.vid ? 0 : passed.vid)};
    }

    std::vector<frame_tag> finished() const
    {
        std::vector<frame_tag> tags;
        for (size_t i = 0; i < found_.size(); ++i)
            tags.push_back(complete(i));
        tags.insert(tags.end(), sent_.begin() + static_cast<long>(touched()), sent_.end());
        return tags;
    }

    const tag_row& row_;
    const tag_operation& operation_;
    const std::vector<frame_tag>& sent_;
    downstream_match match_;
    std::vector<const row_tag*> added_;
    std::vector<partial_tag> found_; ///< the outer tag first
};

row_tag without_reserved(row_tag filter)
{
    if (filter.priority > any_priority && filter.priority < default_rule)
        filter.priority = any_priority;
    if (filter.vid > greatest_vid)
        filter.vid = any_vid;
    if (filter.tpid < 4)
        filter.tpid = 0;
    return filter;
}

// The row with filters that match each frame where they have a reserved value.
tag_row with_open_filters(tag_row row)
{
    row.filter_outer = without_reserved(row.filter_outer);
    row.filter_inner = without_reserved(row.filter_inner);
    row.ethertype = 0;
    row.extended_criteria = 0;
    return row;
}

} // namespace

bool may_produce(const tag_row& row, const tag_operation& operation,
                 const std::vector<frame_tag>& sent, downstream_match match)
{
    if (row.remove == discard_frame)
        return false;
    const tag_row open = with_open_filters(row);
    return !fault_of(open).empty() || inverse_tags(open, operation, sent, match);
}

std::optional<std::vector<frame_tag>> inverse_tags(const tag_row& row,
                                                   const tag_operation& operation,
                                                   const std::vector<frame_tag>& sent,
                                                   downstream_match match)
{
    return inverter(row, operation, sent, match).run();
}

} // namespace gponflow
