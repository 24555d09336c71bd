// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <utility>
#include <variant>

#include "tool/text/exit_status.h"

namespace gponflow {

/// A result, or the status of a command that ends without it. Diagnostics then have the reason.
template <typename Result> class [[nodiscard]] or_status {
public:
    or_status(Result result) : value_(std::move(result)) {}
    or_status(exit_status status) : value_(status) {}

    explicit operator bool() const { return std::holds_alternative<Result>(value_); }

    /// Of an object without a result.
    [[nodiscard]] exit_status status() const { return std::get<exit_status>(value_); }

    [[nodiscard]] const Result& operator*() const { return std::get<Result>(value_); }
    [[nodiscard]] const Result* operator->() const { return &std::get<Result>(value_); }

private:
    std::variant<Result, exit_status> value_;
};

} // namespace gponflow
