// SPDX-License-Identifier: GPL-2.0-only
#include "tool/model/tagging_diff.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <set>
#include <span>

namespace gponflow {

namespace {

const std::string not_known = "unknown";
const std::string no_row = "none";

std::string hex_word(unsigned value)
{
    std::array<char, 16> text;
    std::snprintf(text.data(), text.size(), "0x%04x", value);
    return text.data();
}

std::string hex_of(std::span<const uint8_t> from)
{
    std::string text;
    for (const uint8_t byte : from) {
        std::array<char, 4> digits;
        std::snprintf(digits.data(), digits.size(), "%02x", byte);
        text += digits.data();
    }
    return text;
}

std::string number_of(const std::optional<uint8_t>& value)
{
    return value ? std::to_string(*value) : not_known;
}

class comparison {
public:
    comparison(me_id entity, const tag_operation* left, const tag_operation* right,
               line_difference& into)
        : entity_(entity), left_(left), right_(right), into_(into)
    {
    }

    void run()
    {
        using enum tag_attribute;
        compare(association, [](const tag_operation& of) { return number_of(of.association); });
        compare(associated, [](const tag_operation& of) { return hex_word(of.associated); });
        compare(downstream_mode,
                [](const tag_operation& of) { return std::to_string(of.downstream_mode); });
        if (entity_.class_id == me_class::vtocd)
            return compare_plain();
        compare(input_tpid, [](const tag_operation& of) { return hex_word(of.input_tpid); });
        compare(output_tpid, [](const tag_operation& of) { return hex_word(of.output_tpid); });
        compare(enhanced_mode,
                [](const tag_operation& of) { return std::to_string(of.enhanced_mode); });
        compare(dscp_map, [](const tag_operation& of) { return hex_of(of.dscp_map); });
        compare(table, [](const tag_operation& of) { return rows_text(of); });
        if (left_ && right_)
            compare_rows();
    }

private:
    // Rows are compared one by one if they are known.
    static std::string rows_text(const tag_operation& of)
    {
        if (of.table_in_part)
            return "known in part";
        return of.table_known ? "known" : not_known;
    }

    void compare_plain()
    {
        using enum tag_attribute;
        compare(upstream_mode, [](const tag_operation& of) { return number_of(of.upstream_mode); });
        compare(upstream_tci, [](const tag_operation& of) { return hex_word(of.upstream_tci); });
    }

    // The value of one side, and the line that set it.
    struct side_value {
        std::string text;
        unsigned line = 0;
    };

    template <typename text_of> void compare(tag_attribute which, text_of text)
    {
        const auto value = [&](const tag_operation* of) {
            return of ? side_value{text(*of), of->line_of(which)} : side_value{not_known};
        };
        add(name_of(which), value(left_), value(right_));
    }

    void add(std::string name, side_value left, side_value right)
    {
        if (left.text != right.text)
            into_.changed.push_back({entity_, std::move(name), std::move(left.text),
                                     std::move(right.text), left.line, right.line});
    }

    static side_value treatment_in(const tag_operation& of, const tag_row& key)
    {
        const auto found =
            std::ranges::find_if(of.rows, [&](const tag_row& row) { return same_key(row, key); });
        if (found == of.rows.end())
            return {no_row};
        // Different values may have the same words.
        const tag_row_image image = encode_row(*found);
        return {treatment_text(*found) + " (" +
                    hex_of(std::span(image).subspan(tag_row_bytes / 2)) + ")",
                found->line};
    }

    void compare_rows()
    {
        for (const tag_row& row : left_->rows)
            add("row " + filter_text(row), treatment_in(*left_, row), treatment_in(*right_, row));
        for (const tag_row& row : right_->rows)
            if (treatment_in(*left_, row).text == no_row)
                add("row " + filter_text(row), {no_row}, treatment_in(*right_, row));
    }

    me_id entity_;
    const tag_operation* left_;
    const tag_operation* right_;
    line_difference& into_;
};

std::set<me_id> operations_of(const line_model& entities)
{
    const std::vector<me_id> all = entities.tag_operations();
    return {all.begin(), all.end()};
}

} // namespace

void compare_tagging(const line_model& left, const line_model& right, line_difference& into)
{
    std::set<me_id> all = operations_of(left);
    all.merge(operations_of(right));
    for (const me_id id : all) {
        const bool only_one = (left.find(id) == nullptr) != (right.find(id) == nullptr);
        if (!only_one)
            comparison(id, left.operation(id), right.operation(id), into).run();
    }
}

} // namespace gponflow
