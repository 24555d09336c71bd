// SPDX-License-Identifier: GPL-2.0-only
// Shorthands for tests that read scenario text.
#pragma once

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "tool/scenario/parse.h"

namespace gponflow {

inline scenario parse_good(std::string_view text)
{
    parse_result result = parse_scenario(text, "test.scn");
    for (const diagnostic& error : result.errors)
        ADD_FAILURE() << error.text();
    return std::move(result.input);
}

/// The one command of the text.
template <typename expected> expected parse_only(std::string_view text)
{
    const scenario parsed = parse_good(text);
    if (parsed.lines.size() != 1 || !std::holds_alternative<expected>(parsed.lines[0].command)) {
        ADD_FAILURE() << "not one command of the expected kind: " << text;
        return {};
    }
    return std::get<expected>(parsed.lines[0].command);
}

/// What is wrong with the one faulty line of the text.
inline std::string error_of(std::string_view text)
{
    const parse_result result = parse_scenario(text, "test.scn");
    EXPECT_EQ(result.errors.size(), 1u) << text;
    return result.errors.empty() ? std::string() : result.errors[0].text();
}

} // namespace gponflow
