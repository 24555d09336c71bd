// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/result_line.h"

#include <charconv>

#include "tool/text/number_text.h"

namespace gponflow {

namespace {

constexpr std::string_view absent_text = "absent";

std::string hexadecimal(uint32_t number)
{
    char digits[8];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), number, 16).ptr;
    return "0x" + std::string(digits, end);
}

} // namespace

result_line result_line::with_ret(std::string_view name, std::string number)
{
    result_line line(name);
    line.text_ += " " + number;
    line.values_.emplace_back("ret", std::move(number));
    return line;
}

result_line result_line::absent(std::string_view name)
{
    result_line line(name);
    line.absent_ = true;
    line.text_ += " ";
    line.text_ += absent_text;
    return line;
}

result_line result_line::of(std::string_view name, std::optional<long> returned)
{
    return returned ? number(name, *returned) : absent(name);
}

result_line result_line::of_hook(const std::optional<hook_return>& returned, bool packet)
{
    if (!returned)
        return absent("hook");
    result_line line("hook");
    line.add("ret", std::to_string(returned->ret));
    line.add("api_result", std::to_string(returned->api_result));
    if (packet) {
        line.add("gem", std::to_string(returned->gem));
        line.add("flags", hexadecimal(returned->flags));
    }
    return line;
}

void result_line::add(std::string_view name, std::string value)
{
    text_ += " " + std::string(name) + "=" + value;
    values_.emplace_back(name, std::move(value));
}

std::string_view result_line::value_of(std::string_view name) const
{
    if (absent_)
        return absent_text;
    for (const auto& [known, value] : values_)
        if (known == name)
            return value;
    return {};
}

bool holds(const expectation& expected, std::string_view got)
{
    if (!expected.value)
        return got == absent_text;
    return number_in<int64_t>(got) == expected.value;
}

} // namespace gponflow
