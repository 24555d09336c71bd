// SPDX-License-Identifier: GPL-2.0-only
// The result line of a command, printed and compared by expect.
#pragma once

#include <concepts>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tool/scenario/backend.h"

namespace gponflow {

class result_line {
public:
    /// "NAME", without a value to compare.
    explicit result_line(std::string_view name) : text_(name) {}

    /// "NAME NUMBER", which compares as ret.
    [[nodiscard]] static result_line number(std::string_view name, std::integral auto number)
    {
        return with_ret(name, std::to_string(number));
    }
    /// "NAME absent": the entry point is missing.
    [[nodiscard]] static result_line absent(std::string_view name);
    /// NAME and the number, or absent.
    [[nodiscard]] static result_line of(std::string_view name, std::optional<long> returned);
    /// The outcome of a hook call; with the packet's fields when there was a packet.
    [[nodiscard]] static result_line of_hook(const std::optional<hook_return>& returned,
                                             bool packet);

    /// Adds " NAME=VALUE".
    void add(std::string_view name, std::string value);

    [[nodiscard]] const std::string& text() const { return text_; }

    /// The value of a name: "absent" for every name when the entry point is missing, empty when the
    /// line does not have the name.
    [[nodiscard]] std::string_view value_of(std::string_view name) const;

private:
    [[nodiscard]] static result_line with_ret(std::string_view name, std::string number);

    std::string text_;
    bool absent_ = false;
    std::vector<std::pair<std::string, std::string>> values_;
};

/// Whether a value of a result line is the one expected.
[[nodiscard]] bool holds(const expectation& expected, std::string_view got);

} // namespace gponflow
