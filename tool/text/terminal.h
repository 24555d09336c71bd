// SPDX-License-Identifier: GPL-2.0-only
// Colours and the end of the output.
#pragma once

#include <string>
#include <string_view>

namespace gponflow {

/// Colours for text, or none.
struct palette {
    bool on = false;

    [[nodiscard]] std::string heading(std::string_view text) const { return paint("1", text); }
    [[nodiscard]] std::string good(std::string_view text) const { return paint("32", text); }
    [[nodiscard]] std::string bad(std::string_view text) const { return paint("31", text); }
    [[nodiscard]] std::string faint(std::string_view text) const { return paint("2", text); }

private:
    [[nodiscard]] std::string paint(std::string_view code, std::string_view text) const;
};

/// Colours if the descriptor is a terminal that supports them and NO_COLOR is not set.
[[nodiscard]] palette colours_of(int descriptor);

/// Flushes standard output. Returns false and prints a message to standard error on failure.
[[nodiscard]] bool finish_output();

} // namespace gponflow
