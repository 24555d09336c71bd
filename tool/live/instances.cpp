// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/instances.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "tool/model/class_records.h"
#include "tool/text/lines.h"
#include "tool/text/number_text.h"
#include "tool/text/pattern.h"

namespace gponflow {

namespace {

std::vector<std::string> split_at(std::string_view line, char separator)
{
    std::vector<std::string> parts;
    while (!line.empty()) {
        const size_t end = std::min(line.find(separator), line.size());
        const std::string_view part = line.substr(0, end);
        if (const size_t first = part.find_first_not_of(' '); first != part.npos)
            parts.emplace_back(part.substr(first, part.find_last_not_of(' ') - first + 1));
        line.remove_prefix(std::min(end + 1, line.size()));
    }
    return parts;
}

bool is_rule(std::string_view line)
{
    return line.size() > 3 && line.find_first_not_of("- ") == line.npos;
}

// Ids have six characters; a truncated number is shorter.
bool is_whole_id(std::string_view text)
{
    return text.size() == 6 && text.starts_with("0x");
}

class instance_reader {
public:
    void take(std::string_view line)
    {
        static const pattern title(R"(dump (\w+)\(classId = (\d+)\):\s*)");
        if (const std::optional<pattern_match> found = title.match(line)) {
            class_ =
                find_me_class(gpon::to_me_class(static_cast<uint16_t>(std::stoul((*found)[2]))));
            titles_.clear();
            open_ = false;
        } else if (!class_ || is_rule(line)) {
            open_ = false;
        } else if (line.find(" | ") != line.npos) {
            take_row(split_at(line, '|'));
        } else if (open_) {
            take_lists(split_at(line, ' '));
        }
    }

    std::vector<dumped_instance> result() { return std::move(all_); }

private:
    void take_row(const std::vector<std::string>& cells)
    {
        if (titles_.empty()) {
            if (!cells.empty() && cells.front() == "instID")
                titles_ = cells;
            return;
        }
        const std::optional<uint32_t> id =
            cells.empty() ? std::nullopt : number_in<uint32_t>(cells[0]);
        if (cells.size() != titles_.size() || !id)
            return;
        open_ = true;
        dumped_instance& one = all_.emplace_back();
        one.id = {class_->id, static_cast<uint16_t>(*id)};
        for (size_t i = 0; i < cells.size(); ++i)
            take_cell(one, titles_[i], number_in<uint32_t>(cells[i]));
    }

    void take_cell(dumped_instance& one, const std::string& name, std::optional<uint32_t> value)
    {
        if (find_field(class_->fields, name)) {
            one.attributes.push_back({name, false, {value.value_or(0)}});
            return;
        }
        dumped_link link{name, false, false, {}};
        if (value)
            link.instances.push_back(static_cast<uint16_t>(*value));
        one.links.push_back(std::move(link));
    }

    // "pbit_GemIWTP = 0x0011 0x0012 ...": a full list has no line feed, the next follows it.
    void take_lists(const std::vector<std::string>& words)
    {
        // Lines about packets may come in between.
        if (words.size() < 2 || words[1] != "=")
            return;
        dumped_instance& one = all_.back();
        std::string name;
        for (size_t i = 0; i < words.size(); ++i) {
            if (i + 1 < words.size() && words[i + 1] == "=") {
                name = words[i++];
                begin_list(one, name);
            } else if (!name.empty()) {
                add_to_list(one, name, words[i]);
            }
        }
    }

    void begin_list(dumped_instance& one, const std::string& name)
    {
        if (find_field(class_->fields, name))
            one.attributes.push_back({name, true, {}});
        else
            one.links.push_back({name, true, false, {}});
    }

    void add_to_list(dumped_instance& one, const std::string& name, const std::string& word)
    {
        const std::optional<uint32_t> value = number_in<uint32_t>(word);
        if (find_field(class_->fields, name)) {
            if (value)
                one.attributes.back().values.push_back(*value);
        } else if (value && is_whole_id(word)) {
            one.links.back().instances.push_back(static_cast<uint16_t>(*value));
        } else if (!is_rule(word)) {
            one.links.back().cut = true;
        }
    }

    const class_record* class_ = nullptr;
    std::vector<std::string> titles_;
    bool open_ = false; ///< the row of an instance is open
    std::vector<dumped_instance> all_;
};

// The rows of an instance in the order of the dump: single links and lists are separate.
void restore_rows(me_instance& to, const dumped_instance& from)
{
    std::vector<const dumped_link*> waiting;
    for (const dumped_link& link : from.links)
        waiting.push_back(&link);
    const class_record* known = find_me_class(from.id.class_id);
    if (!known)
        return;
    for (const recordable_links& links : known->links) {
        recorded_row row{links.class_id, links.capacity, {}};
        const auto shown = std::ranges::find_if(
            waiting, [&](const dumped_link* link) { return link->list == (links.capacity > 1); });
        if (shown != waiting.end()) {
            row.instances = (*shown)->instances;
            waiting.erase(shown);
        }
        to.rows.push_back(std::move(row));
    }
}

} // namespace

std::vector<dumped_instance> read_instances(std::string_view log)
{
    instance_reader reader;
    for_each_line(log, [&](std::string_view line) { reader.take(line); });
    return reader.result();
}

bytes raw_record(const dumped_instance& from)
{
    const class_record* known = find_me_class(from.id.class_id);
    if (!known)
        return {};
    bytes raw(known->raw_size);
    for (const dumped_attribute& attribute : from.attributes) {
        const gpon_me_field* field = find_field(known->fields, attribute.name);
        const size_t count = field ? std::min<size_t>(field->count, attribute.values.size()) : 0;
        for (size_t i = 0; i < count; ++i)
            std::memcpy(&raw[field->offset + i * field->width], &attribute.values[i], field->width);
    }
    return raw;
}

line_model model_of(const std::vector<dumped_instance>& all)
{
    line_model result;
    for (const dumped_instance& one : all) {
        me_instance restored;
        restored.id = one.id;
        restored.raw = raw_record(one);
        restore_rows(restored, one);
        result.restore(std::move(restored));
    }
    return result;
}

} // namespace gponflow
