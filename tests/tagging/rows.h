// SPDX-License-Identifier: GPL-2.0-only
// Rows and frames for the tests of tagging operations.
#pragma once

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <vector>

#include "tool/tagging/frame_tags.h"
#include "tool/tagging/operation.h"

namespace gponflow {

using octets = std::vector<uint8_t>;

/// Destination, source, the tags, IPv4 with DSCP 46 unless another type is given.
inline octets frame_with(std::initializer_list<frame_tag> tags, uint16_t ethertype = 0x0800)
{
    tagged_frame frame;
    frame.addresses = {0x02, 0, 0, 0, 0, 1, 0x02, 0, 0, 0, 1, 1};
    frame.tags = tags;
    frame.rest = {static_cast<uint8_t>(ethertype >> 8),
                  static_cast<uint8_t>(ethertype),
                  0x45,
                  46 << 2,
                  0,
                  20};
    return frame.joined();
}

/// The same with these bytes behind the EtherType.
inline octets frame_with(std::initializer_list<frame_tag> tags, uint16_t ethertype,
                         const octets& payload)
{
    const octets whole = frame_with(tags, ethertype);
    constexpr size_t header_bytes = 4; // of frame_with
    octets frame(whole.begin(), whole.end() - header_bytes);
    frame.insert(frame.end(), payload.begin(), payload.end());
    return frame;
}

inline frame_tag vlan(uint16_t vid, uint8_t priority = 0, uint16_t tpid = 0x8100, bool dei = false)
{
    return {tpid, priority, dei, vid};
}

inline constexpr row_tag no_filter{no_tag, any_vid, 0};
inline constexpr row_tag any_tag{any_priority, any_vid, 0};
inline constexpr row_tag add_nothing{add_no_tag, 0, 0};

/// A row for untagged frames.
inline tag_row untagged_row(uint8_t remove, row_tag outer, row_tag inner)
{
    return {no_filter, no_filter, 0, 0, remove, outer, inner};
}

/// A row for single-tagged frames.
inline tag_row single_row(row_tag filter, uint8_t remove, row_tag outer, row_tag inner)
{
    return {no_filter, filter, 0, 0, remove, outer, inner};
}

/// A row for double-tagged frames.
inline tag_row double_row(row_tag outer_filter, row_tag inner_filter, uint8_t remove, row_tag outer,
                          row_tag inner)
{
    return {outer_filter, inner_filter, 0, 0, remove, outer, inner};
}

/// Class 171 with these rows besides the default rows.
inline tag_operation table_of(std::initializer_list<tag_row> rows)
{
    tag_facts facts;
    facts.default_rows = true;
    for (const tag_row& row : rows)
        facts.rows.push_back(encode_row(row));
    tag_operation operation;
    apply(facts, operation);
    return operation;
}

} // namespace gponflow
