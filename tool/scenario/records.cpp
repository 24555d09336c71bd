// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/records.h"

#include <algorithm>
#include <array>

#include "include/uapi/gpon_flow.h"
#include "tool/model/class_records.h"
#include "tool/scenario/values.h"
#include "tool/text/message_words.h"

namespace gponflow {

namespace {

// Size of the record for a class that the class table does not hold.
constexpr size_t unknown_class_bytes = 64;

struct message_name {
    std::string_view name;
    uint8_t type;
};

constexpr message_name message_names[] = {
    {"create", ZR_OMCI_MSG_TYPE_CREAT},
    {"set", ZR_OMCI_MSG_TYPE_SET},
    {"delete", ZR_OMCI_MSG_TYPE_DELETE},
};

uint8_t read_message(const value& from)
{
    if (looks_like_number(from.text))
        return read_field<uint8_t>(from);
    const auto* found = std::ranges::find(message_names, from.text, &message_name::name);
    if (found != std::end(message_names))
        return found->type;
    from.fail("not a number, 'create', 'set' or 'delete'" +
              suggestion(from.text, {"create", "set", "delete"}));
}

void store(bytes& record, size_t offset, size_t width, uint64_t number)
{
    for (size_t i = 0; i < width; ++i)
        record[offset + i] = static_cast<uint8_t>(number >> (8 * i));
}

void write_blob(bytes& record, const gpon_me_field& field, const value& from)
{
    const bytes blob = read_hex(from);
    if (blob.size() != field.count)
        from.fail("needs " + std::to_string(field.count) + " bytes of HEX, not " +
                  std::to_string(blob.size()));
    std::ranges::copy(blob, record.begin() + field.offset);
}

std::vector<value> split_list(const value& from)
{
    std::vector<value> items;
    for (size_t start = 0, comma = 0; comma < from.text.size(); start = comma + 1) {
        comma = std::min(from.text.find(',', start), from.text.size());
        items.push_back({from.name, from.text.substr(start, comma - start), from.column + start});
    }
    return items;
}

void write_numbers(bytes& record, const gpon_me_field& field, const value& from)
{
    const uint64_t most = UINT64_MAX >> (64 - 8 * field.width);
    const std::vector<value> items = split_list(from);
    if (items.empty())
        from.fail("missing number");
    if (items.size() > field.count)
        from.fail(field.count == 1 ? "takes one number"
                                   : "takes at most " + std::to_string(field.count) + " numbers");
    for (size_t i = 0; i < items.size(); ++i)
        store(record, field.offset + i * field.width, field.width, read_unsigned(items[i], most));
}

// A rule for each field. The rules refer to the record until the options are read.
std::vector<option_rule> field_rules(std::span<const gpon_me_field> fields, bytes& record,
                                     bool& used)
{
    std::vector<option_rule> rules;
    for (const gpon_me_field& field : fields)
        rules.push_back({field.name, [&field, &record, &used](const value& from) {
                             used = true;
                             is_byte_string(field) ? write_blob(record, field, from)
                                                   : write_numbers(record, field, from);
                         }});
    return rules;
}

bytes read_whole_record(const value& from, size_t size)
{
    bytes raw = read_hex(from);
    if (raw.size() != size)
        from.fail("the record has " + std::to_string(size) + " bytes, not " +
                  std::to_string(raw.size()));
    return raw;
}

bytes default_record(const class_record* known, uint16_t instance)
{
    bytes record(known ? known->raw_size : unknown_class_bytes);
    if (known)
        store(record, 0, sizeof(instance), instance);
    return record;
}

// The record of `fields`, or all of it at once from raw=.
class record_reader {
public:
    record_reader(std::span<const gpon_me_field> fields, bytes initial)
        : record(std::move(initial)), rules_(field_rules(fields, *record, fields_used_))
    {
    }

    void add(option_rule rule) { rules_.push_back(std::move(rule)); }

    void take(std::span<const word> words, std::string_view owner)
    {
        take_options(words, owner, rules_);
        if (raw && fields_used_)
            throw syntax_error{0, "raw= and fields cannot be used together"};
        if (raw)
            record = std::move(*raw);
    }

    std::optional<bytes> record;
    std::optional<std::optional<bytes>> raw; ///< given with raw=; inner none: a null pointer

private:
    bool fields_used_ = false;
    std::vector<option_rule> rules_;
};

} // namespace

me_class read_class(const value& from)
{
    if (const class_record* named = find_me_class(from.text))
        return named->id;
    if (looks_like_number(from.text))
        return gpon::to_me_class(read_field<uint16_t>(from));
    std::vector<std::string_view> known;
    for (const class_record& row : me_classes())
        known.push_back(row.name);
    from.fail("neither a number nor a class name" + suggestion(from.text, known));
}

any_command parse_me(std::span<const word> words)
{
    constexpr std::array missing = {"the message (create, set, delete or a number)", "the class",
                                    "the instance id"};
    if (words.size() < missing.size())
        throw syntax_error{0, std::string("missing argument: ") + missing[words.size()]};
    me_command result;
    result.message = read_message({"message", words[0].text, words[0].column});
    result.class_id = read_class({"class", words[1].text, words[1].column});
    result.instance = read_field<uint16_t>({"instance id", words[2].text, words[2].column});

    const class_record* known = find_me_class(result.class_id);
    record_reader reader(known ? known->fields : std::span<const gpon_me_field>(),
                         default_record(known, result.instance));
    reader.add({"mask", [&](const value& from) { result.mask = read_field<uint16_t>(from); }});
    reader.add({"raw", [&](const value& from) {
                    if (from.text == "null")
                        reader.raw.emplace();
                    else
                        reader.raw =
                            known ? read_whole_record(from, known->raw_size) : read_hex(from);
                }});
    const std::string name =
        known ? "me of class " + std::string(known->name) : "me of a class without known fields";
    reader.take(words.subspan(3), name);
    result.raw = std::move(reader.record);
    return result;
}

any_command parse_config(std::span<const word> words)
{
    if (words.size() == 1 && words[0].text == "null")
        return config_command{};
    record_reader reader(cfg_fields(), bytes(sizeof(gpon_flow_cfg_data)));
    reader.add({"raw", [&](const value& from) {
                    reader.raw = read_whole_record(from, sizeof(gpon_flow_cfg_data));
                }});
    reader.take(words, "config");
    return config_command{std::move(reader.record)};
}

} // namespace gponflow
