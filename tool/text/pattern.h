// SPDX-License-Identifier: GPL-2.0-only
// Regular expressions behind a header that costs nothing to include: std::regex takes seconds to
// compile in every source that uses it.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace gponflow {

/// Where a pattern matched, and the text of the match and of its groups; [0] is the whole match.
struct pattern_match {
    size_t position = 0;
    std::vector<std::string> groups;

    const std::string& operator[](size_t group) const { return groups[group]; }
};

/// An ECMAScript regular expression.
class pattern {
public:
    explicit pattern(const std::string& expression);
    ~pattern();
    pattern(const pattern&) = delete;
    pattern& operator=(const pattern&) = delete;

    /// A match of the whole text.
    [[nodiscard]] std::optional<pattern_match> match(std::string_view text) const;

    /// The first match within the text.
    [[nodiscard]] std::optional<pattern_match> search(std::string_view text) const;

private:
    struct compiled;
    std::unique_ptr<const compiled> compiled_;
};

} // namespace gponflow
