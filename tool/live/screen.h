// SPDX-License-Identifier: GPL-2.0-only
// A full-screen table on the terminal.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace gponflow {

/// Owns the terminal during its lifetime and restores its contents afterwards. The caller must
/// block signals that would end the process.
class screen {
public:
    virtual ~screen() = default;
    screen(const screen&) = delete;
    screen& operator=(const screen&) = delete;

    /// Shows a table: titles, rows that scroll, a last line.
    virtual void show(const std::vector<std::string>& lines) = 0;

    /// Handles pressed keys and a new size of the terminal. Returns true to exit.
    [[nodiscard]] virtual bool wants_to_end() = 0;

    /// Descriptor that is readable when a key is pressed; -1 without a keyboard.
    [[nodiscard]] virtual int keys() const = 0;

protected:
    screen() = default;
};

/// The terminal of standard input and output. Null without a terminal, for an unknown terminal
/// type, or if this build has no terminal library.
[[nodiscard]] std::unique_ptr<screen> open_screen();

/// Whether this build has a terminal library.
[[nodiscard]] bool has_screen();

} // namespace gponflow
