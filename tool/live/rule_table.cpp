// SPDX-License-Identifier: GPL-2.0-only
// The module's table of rules, from the text that it prints.
#include <algorithm>
#include <cstdio>
#include <regex>

#include "tool/live/dump.h"
#include "tool/live/lines.h"

namespace gponflow {

namespace {

constexpr size_t type_offset = 12;
constexpr size_t tag_bytes = 4;
constexpr size_t most_tags = 4;

using match = std::match_results<std::string_view::const_iterator>;

bool matches(std::string_view line, match& found, const std::regex& shape)
{
    return std::regex_match(line.begin(), line.end(), found, shape);
}

unsigned number(const std::string& text, int base = 10)
{
    return static_cast<unsigned>(std::stoul(text, nullptr, base));
}

uint16_t at(const bytes& frame, size_t place)
{
    const auto one = [&](size_t i) { return i < frame.size() ? frame[i] : uint8_t{0}; };
    return static_cast<uint16_t>(one(place) << 8 | one(place + 1));
}

bool is_tpid(uint16_t type)
{
    return type == 0x8100 || type == 0x9100 || type == 0x88a8;
}

mac_address read_mac(const std::string& text)
{
    mac_address mac{};
    for (size_t i = 0; i < mac.size(); ++i)
        mac.at(i) = static_cast<uint8_t>(number(text.substr(3 * i, 2), 16));
    return mac;
}

// "8100:88a8:xxxx:xxxx" and the same with the contents of the tags.
std::vector<vlan_tag> read_tags(const std::string& tpids, const std::string& tcis)
{
    std::vector<vlan_tag> tags;
    for (size_t i = 0; i < most_tags && tpids[5 * i] != 'x'; ++i)
        tags.push_back({static_cast<uint16_t>(number(tpids.substr(5 * i, 4), 16)),
                        static_cast<uint16_t>(number(tcis.substr(5 * i, 4), 16))});
    return tags;
}

std::vector<me_id> read_steps(const std::string& text)
{
    static const std::regex step(R"(->(\d+)\((0x[0-9a-f]+)\))");
    std::vector<me_id> steps;
    for (std::sregex_iterator it(text.begin(), text.end(), step), end; it != end; ++it)
        steps.push_back(
            {static_cast<uint16_t>(number((*it)[1])), static_cast<uint16_t>(number((*it)[2], 16))});
    return steps;
}

class table_reader {
public:
    void take(std::string_view line)
    {
        static const std::regex counter(R"( (total_num|table_size|threshold) = (\d+)\s*)");
        static const std::regex bucket(R"(\|\*\* hash_val = (0x[0-9a-f]+|0) \*\*\|.*)");
        static const std::regex trace(R"(\| Trace:CLASS\(INST\)(.*)\|\s*)");
        match found;
        if (matches(line, found, counter))
            take_counter(found[1], number(found[2]));
        else if (matches(line, found, bucket))
            hash_ = number(found[1], 16);
        else if (matches(line, found, trace))
            take_trace(found[1]);
        else
            take_row(line);
    }

    std::optional<rule_table> result()
    {
        if (!started_)
            return {};
        return std::move(table_);
    }

private:
    void take_counter(const std::string& name, unsigned value)
    {
        started_ = true;
        if (name == "total_num")
            table_.total = value;
        else if (name == "table_size")
            table_.buckets = value;
        else
            table_.threshold = value;
    }

    void take_row(std::string_view line)
    {
        static const std::regex row(
            R"(\| +(\d+) \| ((?:[0-9a-f]{2}:){5}[0-9a-f]{2}) \| ((?:[0-9a-f]{2}:){5}[0-9a-f]{2}) \|)"
            R"( +([0-9a-fx:]{19}) \| +([0-9a-fx:]{19}) \| +(\d+) \| +(\S+) \|\s*)");
        match found;
        if (!started_ || !matches(line, found, row))
            return;
        dumped_rule rule;
        rule.hash = hash_;
        rule.index = static_cast<uint16_t>(number(found[1]));
        rule.key = {read_mac(found[2]), read_mac(found[3]), read_tags(found[4], found[5]),
                    found[7]};
        rule.port = static_cast<uint16_t>(number(found[6]));
        table_.rules.push_back(std::move(rule));
        open_ = true;
    }

    // The trace belongs to the row above it.
    void take_trace(const std::string& text)
    {
        if (open_)
            table_.rules.back().steps = read_steps(text);
        open_ = false;
    }

    rule_table table_;
    bool started_ = false;
    bool open_ = false; ///< the last row has no trace yet
    uint32_t hash_ = 0;
};

} // namespace

std::string to_text(const mac_address& mac)
{
    char text[18];
    std::snprintf(text, sizeof(text), "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2],
                  mac[3], mac[4], mac[5]);
    return text;
}

std::string to_text(const std::vector<vlan_tag>& tags)
{
    if (tags.empty())
        return "untagged";
    std::string text;
    for (const vlan_tag& tag : tags) {
        text += (text.empty() ? "" : "/") + std::to_string(tag.tci & 0xfff);
        if (const unsigned priority = tag.tci >> 13)
            text += "p" + std::to_string(priority);
    }
    return text;
}

flow_key key_of(const packet_options& options, const bytes& frame)
{
    constexpr std::array<const char*, 4> directions = {"UP_UNI", "UP_ANI", "DOWN_UNI", "DOWN_ANI"};
    flow_key key;
    for (size_t i = 0; i < 6; ++i) {
        key.destination.at(i) = static_cast<uint8_t>(at(frame, i) >> 8);
        key.source.at(i) = static_cast<uint8_t>(at(frame, i + 6) >> 8);
    }
    for (size_t i = type_offset; key.tags.size() < most_tags && is_tpid(at(frame, i));
         i += tag_bytes)
        key.tags.push_back({at(frame, i), at(frame, i + 2)});
    key.direction = options.kind < directions.size() ? directions.at(options.kind) : "N/A";
    return key;
}

const dumped_rule* rule_table::find(const flow_key& key) const
{
    const auto found = std::ranges::find(rules, key, &dumped_rule::key);
    return found == rules.end() ? nullptr : &*found;
}

std::optional<rule_table> read_rule_table(std::string_view log)
{
    table_reader reader;
    for_each_line(log, [&](std::string_view line) { reader.take(line); });
    return reader.result();
}

std::optional<bool> read_switch(std::string_view log)
{
    std::optional<bool> on;
    for_each_line(log, [&](std::string_view line) {
        if (line.starts_with("gpon flow is ["))
            on = line.find("[ENABLE]") != line.npos;
    });
    return on;
}

} // namespace gponflow
