// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/mask_lines.h"

#include <algorithm>

namespace gponflow {

namespace {

constexpr std::string_view level_tags[] = {"***ERROR***", "**WARNING**", "***TRACE***"};

bool is_lower(char c)
{
    return c >= 'a' && c <= 'z';
}

bool is_decimal(char c)
{
    return c >= '0' && c <= '9';
}

bool is_name_part(char c)
{
    return is_lower(c) || (c >= 'A' && c <= 'Z') || is_decimal(c) || c == '_';
}

// Parses a prefix. Each step returns whether the text continues as expected.
class prefix_reader {
public:
    explicit prefix_reader(std::string_view text) : rest_(text) {}

    bool skip(std::string_view expected)
    {
        if (!rest_.starts_with(expected))
            return false;
        rest_.remove_prefix(expected.size());
        return true;
    }

    bool skip_name()
    {
        if (rest_.empty() || !is_lower(rest_[0]))
            return false;
        drop_while(is_name_part);
        return true;
    }

    // Stores the position of the number.
    bool skip_number()
    {
        number = rest_;
        drop_while(is_decimal);
        number.remove_suffix(rest_.size());
        return !number.empty();
    }

    std::string_view number;

private:
    void drop_while(bool (*wanted)(char))
    {
        const auto end = std::ranges::find_if_not(rest_, wanted);
        rest_.remove_prefix(static_cast<size_t>(end - rest_.begin()));
    }

    std::string_view rest_;
};

// The line number of the message that starts here; empty without one.
std::string_view line_number(std::string_view message)
{
    prefix_reader reader(message);
    reader.skip("Enter ");
    if (reader.skip("[")) {
        const bool bracketed = reader.skip_name() && (reader.skip("][") || reader.skip("] [")) &&
                               reader.skip_number() && reader.skip("]");
        return bracketed ? reader.number : std::string_view();
    }
    reader = prefix_reader(message);
    const bool bare =
        reader.skip_name() && reader.skip(" [") && reader.skip_number() && reader.skip("]:");
    return bare ? reader.number : std::string_view();
}

// The position after the next level tag, or the end of the line.
size_t behind_next_tag(std::string_view line, size_t from)
{
    size_t nearest = line.npos;
    size_t behind = line.size();
    for (const std::string_view tag : level_tags) {
        const size_t found = line.find(tag, from);
        if (found < nearest) {
            nearest = found;
            behind = found + tag.size();
        }
    }
    return behind;
}

} // namespace

std::string mask_line_numbers(std::string_view line)
{
    std::string result;
    size_t copied = 0;
    for (size_t start = 0; start < line.size(); start = behind_next_tag(line, start)) {
        const std::string_view number = line_number(line.substr(start));
        if (number.empty())
            continue;
        const size_t at = static_cast<size_t>(number.data() - line.data());
        result += line.substr(copied, at - copied);
        result += '0';
        copied = at + number.size();
    }
    result += line.substr(copied);
    return result;
}

} // namespace gponflow
