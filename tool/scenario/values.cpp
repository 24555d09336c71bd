// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/values.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <set>

#include "tool/text/message_words.h"

namespace gponflow {

namespace {

// Digits only: a sign or blank that from_chars may accept is an error.
uint64_t parse_digits(const value& from, std::string_view digits, int base)
{
    uint64_t result = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, result, base);
    if (digits.empty() || stop != end || error == std::errc::invalid_argument)
        from.fail("not a number (decimal, or hexadecimal after 0x)");
    if (error == std::errc::result_out_of_range)
        from.fail("the number is too large");
    return result;
}

uint64_t parse_magnitude(const value& from, std::string_view text)
{
    return text.starts_with("0x") ? parse_digits(from, text.substr(2), 16)
                                  : parse_digits(from, text, 10);
}

template <typename number>
[[noreturn]] void out_of_range(const value& from, number least, number most)
{
    from.fail("out of range " + std::to_string(least) + " to " + std::to_string(most));
}

int hex_digit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    const int lower = std::tolower(static_cast<unsigned char>(c));
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// Both digits of the byte at the place.
uint8_t hex_byte(const value& from, size_t place)
{
    if (place + 1 >= from.text.size())
        from.fail("an odd number of hexadecimal digits");
    const int high = hex_digit(from.text[place]);
    const int low = hex_digit(from.text[place + 1]);
    if (high < 0 || low < 0)
        from.fail(in_quotes(from.text.substr(place, 2)) + " is not a byte in hexadecimal digits");
    return static_cast<uint8_t>(high << 4 | low);
}

std::vector<std::string_view> names_of(std::span<const option_rule> rules)
{
    std::vector<std::string_view> names;
    std::ranges::transform(rules, std::back_inserter(names), &option_rule::name);
    return names;
}

const option_rule& find_rule(const word& from, std::string_view name, std::string_view owner,
                             std::span<const option_rule> rules)
{
    const auto found = std::ranges::find(rules, name, &option_rule::name);
    if (found != rules.end())
        return *found;
    throw syntax_error{from.column, std::string(owner) + " has no option " + in_quotes(name) +
                                        suggestion_or_list(name, names_of(rules))};
}

} // namespace

void value::fail(const std::string& why) const
{
    throw syntax_error{column, std::string(name) + " " + in_quotes(text) + ": " + why};
}

uint64_t read_unsigned(const value& from, uint64_t most, uint64_t least)
{
    const uint64_t result = parse_magnitude(from, from.text);
    if (result < least || result > most)
        out_of_range(from, least, most);
    return result;
}

int64_t read_signed(const value& from, int64_t least, int64_t most)
{
    const bool negative = from.text.starts_with('-');
    const uint64_t magnitude =
        negative ? parse_digits(from, from.text.substr(1), 10) : parse_magnitude(from, from.text);
    const uint64_t limit =
        negative ? uint64_t{0} - static_cast<uint64_t>(least) : static_cast<uint64_t>(most);
    if (magnitude > limit)
        out_of_range(from, least, most);
    return static_cast<int64_t>(negative ? uint64_t{0} - magnitude : magnitude);
}

bool looks_like_number(std::string_view text)
{
    const auto is_digit = [](unsigned char c) { return std::isdigit(c) != 0; };
    return text.starts_with("0x") || (!text.empty() && std::ranges::all_of(text, is_digit));
}

bytes read_hex(const value& from)
{
    bytes result;
    for (size_t place = 0; place < from.text.size(); place += 2) {
        const bool separator = from.text[place] == ':' || from.text[place] == '-';
        if (separator && place != 0)
            ++place;
        result.push_back(hex_byte(from, place));
    }
    return result;
}

void take_options(std::span<const word> words, std::string_view owner,
                  std::span<const option_rule> rules)
{
    std::set<std::string_view> seen;
    for (const word& from : words) {
        const std::string_view text = from.text;
        const size_t equals = text.find('=');
        if (equals == text.npos)
            throw syntax_error{from.column, in_quotes(text) + " is not an option (name=value) of " +
                                                std::string(owner) +
                                                suggestion_or_list(text, names_of(rules))};
        const option_rule& rule = find_rule(from, text.substr(0, equals), owner, rules);
        if (!seen.insert(rule.name).second)
            throw syntax_error{from.column, std::string(rule.name) + " is duplicate"};
        rule.take({rule.name, text.substr(equals + 1), from.column + equals + 1});
    }
}

} // namespace gponflow
