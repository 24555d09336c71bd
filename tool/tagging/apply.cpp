// SPDX-License-Identifier: GPL-2.0-only
#include "tool/tagging/apply.h"

#include <algorithm>
#include <optional>

#include "tool/tagging/frame_priority.h"
#include "tool/tagging/inverse.h"
#include "tool/tagging/sources.h"
#include "tool/text/ethernet_numbers.h"

namespace gponflow {

namespace {

// Whether the EtherType of a frame, behind its tags, fits the filter of the row. A reserved code
// fits each: the effect of its row is not known.
bool fits_ethertype(const tag_row& row, uint16_t ethertype)
{
    switch (row.ethertype) {
    case 1:
        return ethertype == 0x0800;
    case 2:
        return ethertype == 0x8863 || ethertype == 0x8864;
    case 3:
        return ethertype == 0x0806;
    case 4:
        return ethertype == 0x86dd;
    default:
        return true;
    }
}

using bytes = std::vector<uint8_t>;

using sources = std::vector<attribute_source>;

tag_rewriting unknown(std::span<const uint8_t> frame, std::string why, sources from = {})
{
    return {tag_outcome::unknown, bytes(frame.begin(), frame.end()), {}, std::move(why), {},
            std::move(from)};
}

tag_rewriting unknown_end(std::span<const uint8_t> frame, std::string why, sources from = {})
{
    tag_rewriting result = unknown(frame, std::move(why), std::move(from));
    result.frame_ends = true;
    return result;
}

tag_rewriting passed(const tagged_frame& frame, std::string row, sources from)
{
    return {tag_outcome::passed, frame.joined(), std::move(row), {}, {}, std::move(from)};
}

tag_rewriting discarded(const tagged_frame& frame, std::string row, sources from)
{
    return {tag_outcome::discarded, frame.joined(), std::move(row), {}, {}, std::move(from)};
}

tag_rewriting noted(tag_rewriting done, std::string note)
{
    done.note = std::move(note);
    return done;
}

// Why nothing is known about the tags of a frame; empty if they are known.
std::string frame_fault(const std::optional<tagged_frame>& received)
{
    if (!received)
        return "the frame ends within its addresses";
    return received->ends_early ? "the frame ends before its EtherType" : "";
}

// The same for an operation that reads the outer tag only.
std::string outer_tag_fault(const std::optional<tagged_frame>& received)
{
    return received && !received->tags.empty() ? "" : frame_fault(received);
}

// A reserved value matches each tag: the effect of its row is not known.
bool matches(const row_tag& filter, const frame_tag& tag, uint16_t input_tpid)
{
    if (filter.priority < any_priority && filter.priority != tag.priority)
        return false;
    if (filter.vid <= greatest_vid && filter.vid != tag.vid)
        return false;
    switch (filter.tpid) {
    case 4:
        return tag.tpid == ordinary_tpid;
    case 5:
        return tag.tpid == input_tpid;
    case 6:
        return tag.tpid == input_tpid && !tag.dei;
    case 7:
        return tag.tpid == input_tpid && tag.dei;
    default:
        return true;
    }
}

// A default row ignores the other fields of its filters.
bool matches_tags(const tag_row& row, const std::vector<frame_tag>& tags, uint16_t input_tpid)
{
    const auto match = [&](const row_tag& filter, const frame_tag& tag) {
        return filter.priority == default_rule || matches(filter, tag, input_tpid);
    };
    if (tags_of(row) != std::min<size_t>(tags.size(), 2))
        return false;
    if (tags_of(row) == 0)
        return true;
    if (tags_of(row) == 1)
        return match(row.filter_inner, tags[0]);
    return match(row.filter_outer, tags[0]) && match(row.filter_inner, tags[1]);
}

uint8_t priority_by_dscp(const tag_operation& operation, const tagged_frame& frame)
{
    const std::optional<uint8_t> dscp = frame.dscp();
    return dscp ? mapped_priority(operation.dscp_map, *dscp) : uint8_t{0};
}

// The tag that a treatment adds to a received frame.
class tag_maker {
public:
    tag_maker(const tag_operation& operation, const tagged_frame& received)
        : operation_(operation), received_(received)
    {
        // An untagged frame has nothing to copy: zeros and the ordinary TPID.
        if (received.tags.empty())
            return;
        outer_ = received.tags[0];
        inner_ = received.tags[received.tags.size() > 1 ? 1 : 0];
    }

    frame_tag make(const row_tag& treatment) const
    {
        frame_tag tag = tpid_and_dei(treatment.tpid);
        tag.priority = priority(treatment);
        tag.vid = treatment.vid == copy_inner_vid   ? inner_.vid
                  : treatment.vid == copy_outer_vid ? outer_.vid
                                                    : treatment.vid;
        return tag;
    }

private:
    uint8_t priority(const row_tag& treatment) const
    {
        switch (treatment.priority) {
        case copy_inner_priority:
            return inner_.priority;
        case copy_outer_priority:
            return outer_.priority;
        case priority_of_dscp:
            return priority_by_dscp(operation_, received_);
        default:
            return treatment.priority;
        }
    }

    frame_tag tpid_and_dei(uint8_t code) const
    {
        const uint16_t output = operation_.output_tpid;
        switch (code) {
        case 0:
            return {inner_.tpid, 0, inner_.dei, 0};
        case 1:
            return {outer_.tpid, 0, outer_.dei, 0};
        case 2:
            return {output, 0, inner_.dei, 0};
        case 3:
            return {output, 0, outer_.dei, 0};
        case 6:
            return {output, 0, false, 0};
        case 7:
            return {output, 0, true, 0};
        default:
            return {ordinary_tpid, 0, false, 0};
        }
    }

    const tag_operation& operation_;
    const tagged_frame& received_;
    frame_tag outer_;
    frame_tag inner_;
};

tagged_frame treated(const tag_operation& operation, const tag_row& row,
                     const tagged_frame& received)
{
    const tag_maker maker(operation, received);
    tagged_frame result = received;
    result.tags.erase(result.tags.begin(), result.tags.begin() + row.remove);
    if (row.inner.priority != add_no_tag)
        result.tags.insert(result.tags.begin(), maker.make(row.inner));
    if (row.outer.priority != add_no_tag)
        result.tags.insert(result.tags.begin(), maker.make(row.outer));
    return result;
}

// A reserved criterion fits each frame: the effect of its row is not known.
bool fits_criterion(const tag_row& row, std::optional<uint8_t> criterion)
{
    return row.extended_criteria == 0 || !criterion ||
           row.extended_criteria > greatest_extended_criterion ||
           row.extended_criteria == *criterion;
}

tag_rewriting uninterpreted(std::span<const uint8_t> frame, const table_row& row)
{
    return unknown(frame,
                   "the row \"" + row_text(row) + "\" cannot be interpreted: " + fault_of(row),
                   {{"row", row.line}});
}

std::string too_short_for(const tag_row& row)
{
    return "the row \"" + row_text(row) + "\" may apply: the frame ends before its UDP ports";
}

bool uses_dscp(const tag_row& row)
{
    return row.outer.priority == priority_of_dscp || row.inner.priority == priority_of_dscp;
}

tag_rewriting by_table(const tag_operation& operation, std::span<const uint8_t> frame)
{
    if (const std::string fault = table_fault(operation); !fault.empty())
        return unknown(frame, fault, table_fault_sources(operation));
    const auto received = split_frame(frame, operation.input_tpid);
    if (const std::string fault = frame_fault(received); !fault.empty())
        return unknown_end(frame, fault);
    const std::optional<uint8_t> criterion = received->extended_criterion();
    const table_row* row =
        matching_row(operation, received->tags, received->ethertype(), criterion);
    if (!row)
        return passed(*received, "no row matches: no change",
                      sources_of(operation, {tag_attribute::table}));
    if (!fault_of(*row).empty())
        return uninterpreted(frame, *row);
    sources from = upstream_sources(operation, *row);
    if (row->extended_criteria != 0 && !criterion)
        return unknown_end(frame, too_short_for(*row), std::move(from));
    if (row->remove == discard_frame)
        return discarded(*received, row_text(*row), std::move(from));
    if (uses_dscp(*row) && received->ends_before_dscp())
        return unknown_end(
            frame, "the row \"" + row_text(*row) + "\" applies: the frame ends before its DSCP",
            std::move(from));
    return passed(treated(operation, *row, *received), row_text(*row), std::move(from));
}

// Class 78: a new tag, or the outer tag replaced.
tag_rewriting by_upstream_mode(const tag_operation& operation, std::span<const uint8_t> frame)
{
    const auto received = split_frame(frame, 0);
    if (!operation.upstream_mode)
        return unknown(frame, "its attributes are not known");
    if (const std::string fault = outer_tag_fault(received); !fault.empty())
        return unknown_end(frame, fault);
    const uint8_t mode = *operation.upstream_mode;
    const uint16_t tci = operation.upstream_tci;
    const frame_tag tag = tag_of(ordinary_tpid, tci);
    tagged_frame result = *received;
    if (mode == 0)
        return passed(result, "upstream mode 0: no change",
                      sources_of(operation, {tag_attribute::upstream_mode}));
    if (mode > 2)
        return unknown(frame, "upstream mode " + std::to_string(mode) + " is not defined",
                       sources_of(operation, {tag_attribute::upstream_mode}));
    const bool replaced = mode == 1 && !result.tags.empty();
    // The attribute is a TCI: the TPID of a replaced tag stays.
    if (replaced)
        result.tags[0] = {result.tags[0].tpid, tag.priority, tag.dei, tag.vid};
    else
        result.tags.insert(result.tags.begin(), tag);
    return passed(
        result,
        "upstream mode " + std::to_string(mode) + ": " +
            (replaced ? "replace the outer tag by " : "add ") +
            tags_text(std::vector{result.tags[0]}),
        sources_of(operation, {tag_attribute::upstream_mode, tag_attribute::upstream_tci}));
}

tag_rewriting by_downstream_mode(const tag_operation& operation, std::span<const uint8_t> frame)
{
    const auto received = split_frame(frame, 0);
    if (!operation.upstream_mode)
        return unknown(frame, "its attributes are not known");
    if (const std::string fault = outer_tag_fault(received); !fault.empty())
        return unknown_end(frame, fault);
    sources from = sources_of(operation, {tag_attribute::downstream_mode});
    const std::string mode = "downstream mode " + std::to_string(operation.downstream_mode);
    if (operation.downstream_mode > 1)
        return unknown(frame, mode + " is not defined", std::move(from));
    if (operation.downstream_mode == 0 || received->tags.empty())
        return passed(*received, mode + ": no change", std::move(from));
    tagged_frame result = *received;
    result.tags.erase(result.tags.begin());
    return passed(result, mode + ": remove the outer tag", std::move(from));
}

// Class 171, downstream modes.
enum downstream_mode : uint8_t {
    inverse = 0,
    unmodified = 1,
    last_forwarding = 4,
    discard_all = 8
};

downstream_match match_of(uint8_t mode)
{
    switch (mode) {
    case 3:
    case 6:
        return {true, false};
    case 4:
    case 7:
        return {false, true};
    default:
        return {true, true};
    }
}

// The rows that the ONU creates. That for untagged frames has no priority of its own in its filter:
// a row with a treatment may have replaced it.
bool is_predefined(const tag_row& row)
{
    return is_default(row) ||
           (tags_of(row) == 0 && row.ethertype == 0 && row.extended_criteria == 0 &&
            row.remove == 0 && row.outer.priority == add_no_tag &&
            row.inner.priority == add_no_tag);
}

// Clause 9.3.13 leaves the comparison of mode 0 and unmatched frames to the ONU.
std::string note_of_unmatched(const tag_operation& operation)
{
    if (operation.downstream_mode != inverse || std::ranges::all_of(operation.rows, is_predefined))
        return {};
    return "in downstream mode 0 the ONU decides which fields of a frame it compares with the "
           "rows, "
           "and what it does with a frame that matches none";
}

std::string note_of_match(const tag_operation& operation, const tag_row& row,
                          const std::vector<frame_tag>& sent)
{
    if (is_predefined(row))
        return note_of_unmatched(operation);
    if (match_of(operation.downstream_mode).vid || inverse_tags(row, operation, sent, {true, true}))
        return {};
    return "downstream mode " + std::to_string(operation.downstream_mode) +
           " compares only the priority: the row applies to a frame of another VLAN, too";
}

tag_rewriting by_inverse(const tag_operation& operation, const tagged_frame& received)
{
    const uint8_t mode = operation.downstream_mode;
    const std::optional<uint8_t> criterion = received.extended_criterion();
    for (const table_row& row : operation.rows) {
        // In the modes that look for a match, default rows are none.
        if ((mode != inverse && is_predefined(row)) || !fits_ethertype(row, received.ethertype()) ||
            !fits_criterion(row, criterion))
            continue;
        if (!fault_of(row).empty()) {
            if (may_produce(row, operation, received.tags, match_of(mode)))
                return uninterpreted(received.joined(), row);
            continue;
        }
        const auto tags = inverse_tags(row, operation, received.tags, match_of(mode));
        if (!tags)
            continue;
        if (row.extended_criteria != 0 && !criterion)
            return unknown_end(received.joined(), too_short_for(row),
                               downstream_sources(operation, row));
        tagged_frame result = received;
        result.tags = *tags;
        return noted(
            passed(result, "inverse of " + row_text(row), downstream_sources(operation, row)),
            note_of_match(operation, row, received.tags));
    }
    const std::string text = "downstream mode " + std::to_string(mode) + ": no row matches, ";
    sources from = sources_of(operation, {tag_attribute::downstream_mode, tag_attribute::table});
    if (mode <= last_forwarding)
        return noted(passed(received, text + "no change", std::move(from)),
                     note_of_unmatched(operation));
    return discarded(received, text + "discard", std::move(from));
}

} // namespace

const table_row* matching_row(const tag_operation& operation, const std::vector<frame_tag>& tags,
                              uint16_t ethertype, std::optional<uint8_t> criterion)
{
    const auto found = std::ranges::find_if(operation.rows, [&](const tag_row& row) {
        return fits_ethertype(row, ethertype) && fits_criterion(row, criterion) &&
               matches_tags(row, tags, operation.input_tpid);
    });
    return found == operation.rows.end() ? nullptr : &*found;
}

tag_rewriting rewrite_upstream(const tag_operation& operation, std::span<const uint8_t> frame)
{
    return operation.class_id == me_class::evtocd ? by_table(operation, frame)
                                                  : by_upstream_mode(operation, frame);
}

tag_rewriting rewrite_downstream(const tag_operation& operation, std::span<const uint8_t> frame)
{
    if (operation.class_id != me_class::evtocd)
        return by_downstream_mode(operation, frame);
    const auto received = split_frame(frame, operation.output_tpid);
    if (!received)
        return unknown_end(frame, frame_fault(received));
    const sources mode = sources_of(operation, {tag_attribute::downstream_mode});
    // These two modes need no table, and no tag of the frame.
    switch (operation.downstream_mode) {
    case unmodified:
        return passed(*received, "downstream mode 1: no change", mode);
    case discard_all:
        return discarded(*received, "downstream mode 8: discard", mode);
    default:
        break;
    }
    if (operation.downstream_mode > discard_all)
        return unknown(frame,
                       "downstream mode " + std::to_string(operation.downstream_mode) +
                           " is not defined",
                       mode);
    if (const std::string fault = table_fault(operation); !fault.empty())
        return unknown(frame, fault, table_fault_sources(operation));
    if (const std::string fault = frame_fault(received); !fault.empty())
        return unknown_end(frame, fault);
    return by_inverse(operation, *received);
}

} // namespace gponflow
