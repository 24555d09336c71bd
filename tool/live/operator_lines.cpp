// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/operator_lines.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <sstream>
#include <stdexcept>

#include "include/tci.h"
#include "tool/scenario/values.h"
#include "tool/text/message_words.h"

namespace gponflow {

namespace {

mac_address read_mac(const value& from)
{
    mac_address mac{};
    bytes read;
    try {
        read = read_hex(from);
    } catch (const syntax_error&) {
        read.clear();
    }
    if (read.size() != mac.size())
        from.fail("not a MAC address (02:00:00:00:01:01)");
    std::ranges::copy(read, mac.begin());
    return mac;
}

uint32_t read_vlan_id(const value& from)
{
    return static_cast<uint32_t>(read_unsigned(from, gpon::VLAN_IDS - 1));
}

uint16_t read_vlan(const value& from)
{
    const size_t mark = from.text.find('p');
    // A whole TCI is hexadecimal: a decimal number is a VLAN id.
    if (mark == from.text.npos)
        return static_cast<uint16_t>(from.text.starts_with("0x") ? read_unsigned(from, UINT16_MAX)
                                                                 : read_vlan_id(from));
    const value id{from.name, from.text.substr(0, mark), from.column};
    const value priority{from.name, from.text.substr(mark + 1), from.column + mark + 1};
    const auto number = static_cast<uint32_t>(read_unsigned(priority, gpon::PRIORITIES - 1));
    return gpon::to_tci(number, false, read_vlan_id(id));
}

bool marks(const std::optional<uint16_t>& wanted, const std::vector<vlan_tag>& tags, size_t at)
{
    return !wanted || (at < tags.size() && tags[at].tci == *wanted);
}

struct level_name {
    std::string_view name;
    uint32_t mask;
};

constexpr level_name level_names[] = {{"none", 0},   {"errors", 1}, {"warnings", 2},
                                      {"traces", 4}, {"ioctl", 8},  {"all", 15}};

uint32_t read_level(const std::string& word)
{
    const auto* found = std::ranges::find(level_names, std::string_view(word), &level_name::name);
    if (found != std::end(level_names))
        return found->mask;
    throw std::runtime_error("unknown log level " + in_quotes(word) +
                             suggestion_or_list(word, debug_level_names()));
}

// The fields of a filter by name.
std::array<option_rule, 4> rules_of(trace_filter& filter)
{
    return {{{"dst_mac", [&](const value& v) { filter.destination = read_mac(v); }},
             {"src_mac", [&](const value& v) { filter.source = read_mac(v); }},
             {"outer_vlan", [&](const value& v) { filter.outer = read_vlan(v); }},
             {"inner_vlan", [&](const value& v) { filter.inner = read_vlan(v); }}}};
}

} // namespace

trace_filter read_trace_filter(const std::string& text)
{
    trace_filter filter;
    try {
        take_options(split_words(text), "the filter", rules_of(filter));
    } catch (const syntax_error& error) {
        throw std::runtime_error("the filter: column " + std::to_string(error.column) + ": " +
                                 error.message);
    }
    if (filter.empty())
        throw std::runtime_error(
            "the filter is empty: use dst_mac=MAC, src_mac=MAC, outer_vlan=VLAN "
            "or inner_vlan=VLAN");
    return filter;
}

std::string priority_note(const std::string& text)
{
    std::string note;
    for (const word& one : split_words(text)) {
        const size_t value = one.text.find("_vlan=");
        if (value == one.text.npos || one.text.find('p', value) != one.text.npos ||
            one.text.find("0x", value) != one.text.npos)
            continue;
        note += (note.empty() ? "" : "; ") + one.text + " matches priority 0 only (" + one.text +
                "p5: priority 5); each priority needs a filter of its own";
    }
    return note;
}

std::vector<std::string_view> trace_filter_names()
{
    trace_filter unused;
    std::vector<std::string_view> names;
    for (const option_rule& rule : rules_of(unused))
        names.push_back(rule.name);
    return names;
}

trace_filter filter_of(const bytes& frame)
{
    const flow_key key = key_of({}, frame);
    trace_filter filter{key.destination, key.source, {}, {}};
    if (!key.tags.empty())
        filter.outer = key.tags[0].tci;
    if (key.tags.size() > 1)
        filter.inner = key.tags[1].tci;
    return filter;
}

bool may_mark(const trace_filter& filter, const flow_key& key)
{
    // Without an outer VLAN, the module compares the inner VLAN with the first tag.
    return (!filter.destination || *filter.destination == key.destination) &&
           (!filter.source || *filter.source == key.source) && marks(filter.outer, key.tags, 0) &&
           marks(filter.inner, key.tags, filter.outer ? 1 : 0);
}

std::vector<std::string> lines_of(const trace_filter& filter)
{
    std::vector<std::string> lines = {trace_off_line};
    if (filter.destination)
        lines.push_back("set trace dst_mac " + to_text(*filter.destination));
    if (filter.source)
        lines.push_back("set trace src_mac " + to_text(*filter.source));
    if (filter.outer)
        lines.push_back("set trace outer_vlan " + std::to_string(*filter.outer));
    if (filter.inner)
        lines.push_back("set trace inner_vlan " + std::to_string(*filter.inner));
    return lines;
}

uint32_t read_debug_level(const std::string& text)
{
    if (looks_like_number(text)) {
        try {
            return read_field<uint32_t>({"debug level", text, 0});
        } catch (const syntax_error& error) {
            throw std::runtime_error(error.message);
        }
    }
    uint32_t mask = 0;
    std::istringstream words(text);
    for (std::string word; std::getline(words, word, ',');)
        mask |= read_level(word);
    return mask;
}

std::vector<std::string_view> debug_level_names()
{
    std::vector<std::string_view> names;
    std::ranges::transform(level_names, std::back_inserter(names), &level_name::name);
    return names;
}

std::string debug_level_line(uint32_t mask)
{
    char text[32];
    std::snprintf(text, sizeof(text), "set debug_level %x", mask);
    return text;
}

} // namespace gponflow
