// SPDX-License-Identifier: GPL-2.0-only
// The inputs of a command that takes many.
#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <istream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace gponflow {

/// Names of inputs: those of the command line first, then those of a list, which is read as the
/// names are taken.
class input_list {
public:
    /// `list` is a file with one name a line, "-" for standard input, or empty. Throws
    /// std::runtime_error if it cannot be read.
    [[nodiscard]] static input_list open(std::vector<std::string> names, const std::string& list);

    /// The next name, or nothing at the end. Empty lines of the list are skipped.
    [[nodiscard]] std::optional<std::string> next();

    /// The number of all names; nothing if it is unknown, as of a pipe.
    [[nodiscard]] std::optional<uint64_t> total() const { return total_; }

private:
    explicit input_list(std::vector<std::string> names);
    void open_list(const std::string& list);
    [[nodiscard]] std::optional<std::string> next_line();

    std::vector<std::string> names_;
    size_t taken_ = 0;                    ///< of names_
    std::unique_ptr<std::ifstream> file_; ///< the list, unless it is standard input
    std::istream* list_ = nullptr;        ///< null: no list
    std::optional<uint64_t> total_;
};

} // namespace gponflow
