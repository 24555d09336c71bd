// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/rule_table.h"

#include <algorithm>
#include <optional>

#include "tool/text/lines.h"
#include "tool/text/pattern.h"

namespace gponflow {

namespace {

constexpr size_t most_rule_tags = 4;

unsigned number(const std::string& text, int base = 10)
{
    return static_cast<unsigned>(std::stoul(text, nullptr, base));
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
    for (size_t i = 0; i < most_rule_tags && tpids[5 * i] != 'x'; ++i)
        tags.push_back({static_cast<uint16_t>(number(tpids.substr(5 * i, 4), 16)),
                        static_cast<uint16_t>(number(tcis.substr(5 * i, 4), 16))});
    return tags;
}

std::vector<me_id> read_steps(std::string_view text)
{
    static const pattern step(R"(->(\d+)\((0x[0-9a-f]+)\))");
    std::vector<me_id> steps;
    while (const std::optional<pattern_match> found = step.search(text)) {
        steps.push_back({gpon::to_me_class(static_cast<uint16_t>(number((*found)[1]))),
                         static_cast<uint16_t>(number((*found)[2], 16))});
        text.remove_prefix(found->position + (*found)[0].size());
    }
    return steps;
}

class table_reader {
public:
    void take(std::string_view line)
    {
        static const pattern counter(R"( (total_num|table_size|threshold) = (\d+)\s*)");
        static const pattern bucket(R"(\|\*\* hash_val = (0x[0-9a-f]+|0) \*\*\|.*)");
        static const pattern trace(R"(\| Trace:CLASS\(INST\)(.*)\|\s*)");
        if (const auto counted = counter.match(line))
            take_counter((*counted)[1], number((*counted)[2]));
        else if (const auto opened = bucket.match(line))
            hash_ = number((*opened)[1], 16);
        else if (const auto traced = trace.match(line))
            take_trace((*traced)[1]);
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
        static const pattern row(
            R"(\| +(\d+) \| ((?:[0-9a-f]{2}:){5}[0-9a-f]{2}) \| ((?:[0-9a-f]{2}:){5}[0-9a-f]{2}) \|)"
            R"( +([0-9a-fx:]{19}) \| +([0-9a-fx:]{19}) \| +(\d+) \| +(\S+) \|\s*)");
        if (!started_)
            return;
        const std::optional<pattern_match> found = row.match(line);
        if (!found)
            return;
        const pattern_match& cells = *found;
        dumped_rule rule;
        rule.hash = hash_;
        rule.index = static_cast<uint16_t>(number(cells[1]));
        rule.key = {read_mac(cells[2]), read_mac(cells[3]), read_tags(cells[4], cells[5]),
                    cells[7]};
        rule.port = static_cast<uint16_t>(number(cells[6]));
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

std::string path_text(const std::vector<me_id>& steps, std::string_view separator)
{
    std::string text;
    for (const me_id& step : steps) {
        text += text.empty() ? "" : separator;
        text += to_text(step);
    }
    return text;
}

} // namespace gponflow
