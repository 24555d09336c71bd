// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <cstddef>
#include <string>

namespace gponflow {

/// Throws std::runtime_error with the text of errno.
[[noreturn]] void throw_errno();

/// Called before standard input is read. Throws std::runtime_error the second time: one command
/// line names it for one input only.
void claim_standard_input();

/// The whole text of a file, "-" being standard input. Throws std::runtime_error with the reason.
[[nodiscard]] std::string read_source_text(const std::string& file);

/// The first `count` bytes of a regular file, or fewer; empty if it is none.
[[nodiscard]] std::string first_bytes(const std::string& file, size_t count);

} // namespace gponflow
