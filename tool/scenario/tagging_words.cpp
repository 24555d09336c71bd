// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/tagging_words.h"

#include <algorithm>
#include <vector>

#include "tool/scenario/records.h"
#include "tool/scenario/values.h"

namespace gponflow {

namespace {

template <size_t count> std::array<uint8_t, count> read_bytes(const value& from)
{
    const bytes read = read_hex(from);
    if (read.size() != count)
        from.fail("needs " + std::to_string(count) + " bytes of HEX, not " +
                  std::to_string(read.size()));
    std::array<uint8_t, count> result{};
    std::ranges::copy(read, result.begin());
    return result;
}

template <typename field> auto number_into(std::optional<field>& place)
{
    return [&place](const value& from) { place = read_field<field>(from); };
}

void read_rows(const value& from, tag_facts& facts)
{
    if (from.text != "default" && from.text != "unknown")
        from.fail("only 'default' and 'unknown' are known");
    (from.text == "default" ? facts.default_rows : facts.unknown_rows) = true;
}

// Attributes of both classes.
std::vector<option_rule> common_rules(tag_facts& facts)
{
    return {{name_of(tag_attribute::association), number_into(facts.association)},
            {name_of(tag_attribute::associated), number_into(facts.associated)},
            {name_of(tag_attribute::downstream_mode), number_into(facts.downstream_mode)}};
}

std::vector<option_rule> extended_rules(tag_facts& facts)
{
    std::vector<option_rule> rules = common_rules(facts);
    rules.push_back({name_of(tag_attribute::input_tpid), number_into(facts.input_tpid)});
    rules.push_back({name_of(tag_attribute::output_tpid), number_into(facts.output_tpid)});
    rules.push_back({name_of(tag_attribute::dscp_map), [&](const value& from) {
                         facts.dscp_map = read_bytes<dscp_map_bytes>(from);
                     }});
    rules.push_back({name_of(tag_attribute::enhanced_mode), number_into(facts.enhanced_mode)});
    rules.push_back(
        {name_of(tag_attribute::table), [&](const value& from) { read_rows(from, facts); }});
    rules.push_back(
        {"row", [&](const value& from) { facts.rows.push_back(read_bytes<tag_row_bytes>(from)); }});
    return rules;
}

std::vector<option_rule> plain_rules(tag_facts& facts)
{
    std::vector<option_rule> rules = common_rules(facts);
    rules.push_back({name_of(tag_attribute::upstream_mode), number_into(facts.upstream_mode)});
    rules.push_back({name_of(tag_attribute::upstream_tci), number_into(facts.upstream_tci)});
    return rules;
}

} // namespace

any_command parse_tagging(std::span<const word> words)
{
    constexpr std::array missing = {"the class", "the instance id", "FIELD=VALUE"};
    if (words.size() < missing.size())
        throw syntax_error{0, std::string("missing argument: ") + missing[words.size()]};
    tagging_command result;
    tag_facts& facts = result.facts;
    facts.class_id = read_class({"class", words[0].text, words[0].column});
    if (facts.class_id != me_class::evtocd && facts.class_id != me_class::vtocd)
        throw syntax_error{words[0].column,
                           "tagging takes VLAN_TAG_EXTEND_OPERATE or VLAN_TAG_OPERATE"};
    facts.instance = read_field<uint16_t>({"instance id", words[1].text, words[1].column});
    const bool extended = facts.class_id == me_class::evtocd;
    const std::vector<option_rule> rules = extended ? extended_rules(facts) : plain_rules(facts);
    take_options(words.subspan(2), extended ? "tagging of class 171" : "tagging of class 78",
                 rules);
    return result;
}

} // namespace gponflow
