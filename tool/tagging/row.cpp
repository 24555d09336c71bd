// SPDX-License-Identifier: GPL-2.0-only
#include "tool/tagging/row.h"

#include <algorithm>
#include <tuple>

#include "tool/text/ethernet_numbers.h"

namespace gponflow {

namespace {

constexpr uint8_t greatest_ethertype = 4;
constexpr unsigned word_bytes = 4;

uint32_t word_at(const tag_row_image& image, size_t index)
{
    uint32_t word = 0;
    for (size_t i = 0; i < word_bytes; ++i)
        word = word << 8 | image[index * word_bytes + i];
    return word;
}

void put_word(tag_row_image& image, size_t index, uint32_t word)
{
    for (size_t i = word_bytes; i-- > 0; word >>= 8)
        image[index * word_bytes + i] = static_cast<uint8_t>(word);
}

// Four bits of priority, 13 of VID and 3 of TPID, the last of them at `shift`.
row_tag tag_of(uint32_t word, unsigned shift)
{
    return {static_cast<uint8_t>(word >> (shift + 16) & 0xf),
            static_cast<uint16_t>(word >> (shift + 3) & 0x1fff),
            static_cast<uint8_t>(word >> shift & 7)};
}

uint32_t word_of(const row_tag& tag, unsigned shift)
{
    return (uint32_t{tag.priority} << 16 | uint32_t{tag.vid} << 3 | tag.tpid) << shift;
}

constexpr unsigned filter_shift = 12;
constexpr unsigned treatment_shift = 0;
constexpr unsigned remove_shift = 30;
constexpr unsigned extended_shift = 4;

// A criterion that is not filtered follows its values: the more specific row is tried first.
using tag_rank = std::tuple<unsigned, unsigned, unsigned>;

tag_rank rank_of(const row_tag& filter)
{
    // By code: 6 and 7 compare the DEI too, so they precede 5.
    constexpr std::array<unsigned, 8> tpid_ranks = {8, 1, 2, 3, 4, 7, 5, 6};
    return {filter.priority, filter.vid, tpid_ranks[filter.tpid & 7]};
}

auto rank_of(const tag_row& row)
{
    constexpr unsigned last = 0x100;
    return std::tuple(is_default(row), rank_of(row.filter_outer), rank_of(row.filter_inner),
                      row.extended_criteria == 0 ? last : row.extended_criteria,
                      row.ethertype == 0 ? last : row.ethertype);
}

std::string filter_fault(const row_tag& filter, const std::string& which)
{
    if (filter.priority > any_priority && filter.priority < default_rule)
        return which + " priority " + std::to_string(filter.priority);
    if (filter.priority <= any_priority && filter.vid > greatest_vid && filter.vid != any_vid)
        return which + " VID " + std::to_string(filter.vid);
    if (filter.priority <= any_priority && filter.tpid > 0 && filter.tpid < 4)
        return which + " TPID code " + std::to_string(filter.tpid);
    return {};
}

std::string treatment_fault(const row_tag& treatment, const std::string& which)
{
    if (treatment.priority == add_no_tag)
        return {};
    if (treatment.priority > priority_of_dscp)
        return which + " priority " + std::to_string(treatment.priority);
    if (treatment.vid > greatest_vid && treatment.vid != copy_inner_vid &&
        treatment.vid != copy_outer_vid)
        return which + " VID " + std::to_string(treatment.vid);
    if (treatment.tpid == 5)
        return which + " TPID code 5";
    return {};
}

std::string counts_fault(const tag_row& row)
{
    if (row.filter_outer.priority != no_tag && row.filter_inner.priority == no_tag)
        return "filters of an outer tag without an inner one";
    if (row.remove != discard_frame && row.remove > tags_of(row))
        return "removes " + std::to_string(row.remove) + " tags of frames with " +
               std::to_string(tags_of(row));
    return {};
}

std::string filtered_tag_text(const row_tag& filter)
{
    std::string text;
    if (filter.vid <= greatest_vid)
        text += ", VLAN " + std::to_string(filter.vid);
    if (filter.priority <= greatest_priority)
        text += ", priority " + std::to_string(filter.priority);
    constexpr std::array<const char*, 8> tpids = {"",
                                                  ", TPID code 1",
                                                  ", TPID code 2",
                                                  ", TPID code 3",
                                                  ", TPID 0x8100",
                                                  ", input TPID",
                                                  ", input TPID with DEI 0",
                                                  ", input TPID with DEI 1"};
    return text + tpids[filter.tpid & 7];
}

std::string ethertype_text(const tag_row& row)
{
    constexpr std::array<const char*, greatest_ethertype + 1> types = {"", ", IPv4", ", PPPoE",
                                                                       ", ARP", ", IPv6"};
    std::string text = row.ethertype < types.size()
                           ? types[row.ethertype]
                           : ", EtherType code " + std::to_string(row.ethertype);
    if (row.extended_criteria == 1)
        return text + ", DHCPv4";
    if (row.extended_criteria == 2)
        return text + ", DHCPv6";
    return row.extended_criteria == 0
               ? text
               : text + ", extended criteria " + std::to_string(row.extended_criteria);
}

std::string added_vlan_text(const row_tag& treatment)
{
    if (treatment.vid == copy_inner_vid)
        return "the VLAN of the inner tag";
    if (treatment.vid == copy_outer_vid)
        return "the VLAN of the outer tag";
    return "VLAN " + std::to_string(treatment.vid);
}

std::string added_priority_text(const row_tag& treatment)
{
    switch (treatment.priority) {
    case copy_inner_priority:
        return "the priority of the inner tag";
    case copy_outer_priority:
        return "the priority of the outer tag";
    case priority_of_dscp:
        return "the priority of the DSCP";
    default:
        return "priority " + std::to_string(treatment.priority);
    }
}

std::string added_tag_text(const row_tag& treatment)
{
    constexpr std::array<const char*, 8> tpids = {"",
                                                  "",
                                                  ", output TPID",
                                                  ", output TPID",
                                                  ", TPID 0x8100",
                                                  "",
                                                  ", output TPID with DEI 0",
                                                  ", output TPID with DEI 1"};
    return ", add " + added_vlan_text(treatment) + " with " + added_priority_text(treatment) +
           tpids[treatment.tpid & 7];
}

} // namespace

tag_row decode_row(const tag_row_image& image)
{
    tag_row row;
    row.filter_outer = tag_of(word_at(image, 0), filter_shift);
    row.filter_inner = tag_of(word_at(image, 1), filter_shift);
    row.extended_criteria = static_cast<uint8_t>(word_at(image, 1) >> extended_shift);
    row.ethertype = static_cast<uint8_t>(word_at(image, 1) & 0xf);
    row.remove = static_cast<uint8_t>(word_at(image, 2) >> remove_shift);
    row.outer = tag_of(word_at(image, 2), treatment_shift);
    row.inner = tag_of(word_at(image, 3), treatment_shift);
    return row;
}

tag_row_image encode_row(const tag_row& row)
{
    tag_row_image image{};
    put_word(image, 0, word_of(row.filter_outer, filter_shift));
    put_word(image, 1,
             word_of(row.filter_inner, filter_shift) |
                 uint32_t{row.extended_criteria} << extended_shift | row.ethertype);
    put_word(image, 2, uint32_t{row.remove} << remove_shift | word_of(row.outer, treatment_shift));
    put_word(image, 3, word_of(row.inner, treatment_shift));
    return image;
}

bool is_deletion(const tag_row_image& image)
{
    return std::all_of(image.begin() + tag_row_bytes / 2, image.end(),
                       [](uint8_t byte) { return byte == 0xff; });
}

bool same_key(const tag_row& left, const tag_row& right)
{
    return left.filter_outer == right.filter_outer && left.filter_inner == right.filter_inner &&
           left.extended_criteria == right.extended_criteria && left.ethertype == right.ethertype;
}

unsigned tags_of(const tag_row& row)
{
    if (row.filter_outer.priority != no_tag)
        return 2;
    return row.filter_inner.priority == no_tag ? 0 : 1;
}

bool is_default(const tag_row& row)
{
    return row.filter_outer.priority == default_rule || row.filter_inner.priority == default_rule;
}

bool is_tried_before(const tag_row& left, const tag_row& right)
{
    return rank_of(left) < rank_of(right);
}

std::string fault_of(const tag_row& row)
{
    if (row.ethertype > greatest_ethertype)
        return "reserved EtherType code " + std::to_string(row.ethertype);
    if (row.extended_criteria > greatest_extended_criterion)
        return "reserved value: extended criteria " + std::to_string(row.extended_criteria);
    for (const std::string& fault : {filter_fault(row.filter_outer, "outer filter"),
                                     filter_fault(row.filter_inner, "inner filter"),
                                     treatment_fault(row.outer, "outer treatment"),
                                     treatment_fault(row.inner, "inner treatment")})
        if (!fault.empty())
            return "reserved value: " + fault;
    return counts_fault(row);
}

std::string filter_text(const tag_row& row)
{
    constexpr std::array<const char*, 3> kinds = {"untagged", "single-tagged", "double-tagged"};
    const unsigned tags = tags_of(row);
    std::string text = std::string(is_default(row) ? "other " : "") + kinds[tags];
    if (tags == 1)
        text += filtered_tag_text(row.filter_inner);
    if (const std::string outer = filtered_tag_text(row.filter_outer); tags == 2 && !outer.empty())
        text += ", outer tag" + outer.substr(1);
    if (const std::string inner = filtered_tag_text(row.filter_inner); tags == 2 && !inner.empty())
        text += ", inner tag" + inner.substr(1);
    return text + ethertype_text(row);
}

std::string treatment_text(const tag_row& row)
{
    if (row.remove == discard_frame)
        return "discard";
    std::string text;
    if (row.remove != 0)
        text += ", remove " + std::to_string(row.remove) + (row.remove == 1 ? " tag" : " tags");
    if (row.outer.priority != add_no_tag)
        text += added_tag_text(row.outer);
    if (row.inner.priority != add_no_tag)
        text += added_tag_text(row.inner);
    return text.empty() ? "no change" : text.substr(2);
}

std::string row_text(const tag_row& row)
{
    return filter_text(row) + ": " + treatment_text(row);
}

} // namespace gponflow
