// SPDX-License-Identifier: GPL-2.0-only
// The help texts, in the notation of manual pages.
#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace gponflow {

/// Prints the value of an option as NAME, or as its words ("host|device"). Its default, and the
/// options that it needs or excludes, are sentences behind its description.
class help_format final : public CLI::Formatter {
public:
    [[nodiscard]] std::string make_option_opts(const CLI::Option* option) const override;
    [[nodiscard]] std::string make_option_desc(const CLI::Option* option) const override;
};

/// The words that an option accepts, of the library's type text "TEXT:{on,off}". Empty if any word
/// is accepted.
[[nodiscard]] std::vector<std::string> accepted_words(const CLI::Option& option);

} // namespace gponflow
