// SPDX-License-Identifier: GPL-2.0-only
// What a terminal can do that a file cannot.
#pragma once

#include <string>
#include <string_view>

namespace gponflow {

/// Colours for text, or none.
struct palette {
    bool on = false;

    std::string heading(std::string_view text) const { return paint("1", text); }
    std::string good(std::string_view text) const { return paint("32", text); }
    std::string bad(std::string_view text) const { return paint("31", text); }
    std::string faint(std::string_view text) const { return paint("2", text); }

private:
    std::string paint(std::string_view code, std::string_view text) const;
};

/// Colours when the descriptor is a terminal that knows them and NO_COLOR is not set.
palette colours_of(int descriptor);

/// Bytes not handed over yet are; true when all could be written. Says on standard error when not.
bool finish_output();

} // namespace gponflow
