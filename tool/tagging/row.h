// SPDX-License-Identifier: GPL-2.0-only
// One row of the received frame VLAN tagging operation table (ITU-T G.988 clause 9.3.13).
//
// A row is 16 bytes, four big-endian words: the filter of the outer tag, the filter of the inner
// tag and of the EtherType, the tags to remove with the treatment of the outer tag, the treatment
// of the inner tag. The filter of a single tag is that of the inner tag. The first 8 bytes are the
// key of the row.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <span>
#include <string>

namespace gponflow {

constexpr size_t tag_row_bytes = 16;
using tag_row_image = std::array<uint8_t, tag_row_bytes>;

/// Values of a priority in a filter; 0 to 7 are compared with the tag.
enum filter_priority : uint8_t { any_priority = 8, default_rule = 14, no_tag = 15 };

/// Values of a priority in a treatment; 0 to 7 are written to the tag.
enum treatment_priority : uint8_t {
    copy_inner_priority = 8,
    copy_outer_priority = 9,
    priority_of_dscp = 10,
    add_no_tag = 15
};

/// Values of a VID: in filters only the first, in treatments both copies.
enum special_vid : uint16_t { any_vid = 4096, copy_inner_vid = 4096, copy_outer_vid = 4097 };

constexpr uint8_t greatest_extended_criterion = 2;
constexpr uint8_t discard_frame = 3; ///< value of "tags to remove"

/// The filter or the treatment of one tag.
struct row_tag {
    uint8_t priority = no_tag;
    uint16_t vid = any_vid;
    uint8_t tpid = 0; ///< code of TPID and DEI, 3 bits

    auto operator<=>(const row_tag&) const = default;
};

struct tag_row {
    row_tag filter_outer;
    row_tag filter_inner;
    uint8_t extended_criteria = 0; ///< 1 DHCPv4, 2 DHCPv6; others are reserved
    uint8_t ethertype = 0;         ///< 0 any, 1 IPv4, 2 PPPoE, 3 ARP, 4 IPv6
    uint8_t remove = 0;            ///< tags to remove, or discard_frame
    row_tag outer{add_no_tag, 0, 0};
    row_tag inner{add_no_tag, 0, 0};

    bool operator==(const tag_row&) const = default;
};

/// Reads and writes the 16 bytes. Padding bits are ignored and written as 0.
[[nodiscard]] tag_row decode_row(const tag_row_image& image);
[[nodiscard]] tag_row_image encode_row(const tag_row& row);

/// Whether the last 8 bytes are all ones: the message deletes the row with this key.
[[nodiscard]] bool is_deletion(const tag_row_image& image);

/// Whether both rows have the same filters.
[[nodiscard]] bool same_key(const tag_row& left, const tag_row& right);

/// Number of tags of the frames that the row applies to: 0, 1 or 2.
[[nodiscard]] unsigned tags_of(const tag_row& row);

/// Whether the row applies only if no other row for frames with as many tags does.
[[nodiscard]] bool is_default(const tag_row& row);

/// The order in which rows are tried: by the filters from the outer to the inner tag and the
/// EtherType. A criterion that is not filtered comes after all its values, default rows come last.
[[nodiscard]] bool is_tried_before(const tag_row& left, const tag_row& right);

/// Why the row has no defined meaning; empty if it has one.
[[nodiscard]] std::string fault_of(const tag_row& row);

/// "single-tagged, VLAN 100, priority 3", "other double-tagged", "untagged, IPv4".
[[nodiscard]] std::string filter_text(const tag_row& row);

/// "remove 1 tag, add VLAN 200 with the priority of the inner tag", "discard".
[[nodiscard]] std::string treatment_text(const tag_row& row);

/// The filter and the treatment.
[[nodiscard]] std::string row_text(const tag_row& row);

} // namespace gponflow
